#pragma once

// A .gltf (JSON, buffers external or in data URIs) or .glb file into the model.

#include <cstdint>
#include <string>
#include <vector>

#include "scenebuild/import/folder_files.h"
#include "scenebuild/import/model.h"

namespace tsimport {

// bytes: the whole file, glTF JSON or GLB (told apart by GLB's magic); files: its folder, for
// what it names. False with error (without the file's name) when the file can't be used.
bool readGltf(const std::vector<uint8_t>& bytes, FolderFiles& files, const Conversion& conversion, Model& model,
              std::string& error);

}  // namespace tsimport
