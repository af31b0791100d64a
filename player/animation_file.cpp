#include "player/animation_file.h"

#include <windows.h>

#include <cstdio>

namespace animation_file {

namespace {

constexpr const char* kExtension = ".stfx";

}  // namespace

bool isAnimation(const std::string& path) {
  const size_t length = std::char_traits<char>::length(kExtension);
  return path.size() > length && path.compare(path.size() - length, length, kExtension) == 0;
}

bool read(host::DriverKMT& driver, const std::string& path, const host::EffectLibrary& library,
          host::ProjectFile& file, host::LoadError& error) {
  std::string text;
  driver.loadAnimation(path, text);
  if (text.empty()) {
    error = host::LoadError{path, 0, "the driver cannot read the animation"};
    return false;
  }
  return file.loadFromAnimation(path, text, library, error);
}

int write(Stage& stage, host::DriverKMT& driver, const host::ProjectFile& file, const host::EffectLibrary& library,
          const std::string& path) {
  host::HostProject& project = stage.project();
  host::LoadError error;
  // Built, not opened: an open post-process puts its renderer into its scene, which would then
  // be stored with it and run twice after a load.
  const bool built = project.build(file, library, error, host::HostProject::MissingSoundtrack::named);
  for (const host::LoadError& warning : project.warnings())
    std::fprintf(stderr, "tsplay: %s\n", warning.message().c_str());
  if (!built) {
    std::fprintf(stderr, "tsplay: %s\n", error.message().c_str());
    return 1;
  }
  // The driver says nothing back: a new file under a name of our own is its success, and a
  // failed export leaves whatever stood under the final name untouched.
  const std::string partial = path + ".export";
  DeleteFileA(partial.c_str());
  driver.exportAnimation(&project, partial);
  WIN32_FILE_ATTRIBUTE_DATA written;
  if (!GetFileAttributesExA(partial.c_str(), GetFileExInfoStandard, &written) ||
      !MoveFileExA(partial.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    DeleteFileA(partial.c_str());
    std::fprintf(stderr, "tsplay: the animation '%s' was not written\n", path.c_str());
    return 1;
  }
  const int items = static_cast<int>(project.count());
  int scenes = 0;
  for (int i = 0; i < items; ++i) scenes += project.item(static_cast<size_t>(i))->kind() == host::kSceneItem;
  const std::string& soundtrack = project.soundtrackPath();
  std::printf("animation %s: %lu bytes; %d data items (%d scenes, %d images), soundtrack %s\n", path.c_str(),
              written.nFileSizeLow, items, scenes, items - scenes,
              soundtrack.empty() ? "none" : ("'" + host::fileNameOf(soundtrack) + "'").c_str());
  return 0;
}

}  // namespace animation_file
