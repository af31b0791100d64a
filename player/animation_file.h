#pragma once

#include <string>

#include "player/host/driver_interface.h"
#include "player/host/project_file.h"
#include "player/playback.h"

// Exported animations: a project with its scenes and images in one file, which the driver
// writes and reads.
namespace animation_file {

// Whether `path` names an exported animation rather than a project file, by its extension.
bool isAnimation(const std::string& path);

// The project inside the animation at `path`. The driver reads the file into the stage's
// device, which must be open, and from then on makes the data items from it. False with
// `error` set when the driver can't read it (it has said why) or the project in it is wrong.
bool read(host::DriverKMT& driver, const std::string& path, const host::EffectLibrary& library,
          host::ProjectFile& file, host::LoadError& error);

// Writes the project as an animation at `path`, replacing what was there, and prints what went
// in. A missing soundtrack is named and warned of. 0, or 1 with a message.
int write(Stage& stage, host::DriverKMT& driver, const host::ProjectFile& file, const host::EffectLibrary& library,
          const std::string& path);

}  // namespace animation_file
