#pragma once

// A Wavefront .obj file with its .mtl material libraries into the model: one node and mesh per
// object or group, a part per material.

#include <cstdint>
#include <string>
#include <vector>

#include "scenebuild/import/folder_files.h"
#include "scenebuild/import/model.h"

namespace tsimport {

// bytes: the whole .obj file; files: its folder, for material libraries and textures. False
// with error (without the file's name) when the file can't be used.
bool readObj(const std::vector<uint8_t>& bytes, FolderFiles& files, const Conversion& conversion, Model& model,
             std::string& error);

}  // namespace tsimport
