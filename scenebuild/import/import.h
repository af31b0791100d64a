#pragma once

// A model file (.gltf, .glb, .obj) into the model, whole or not at all, with a default camera
// framing it and a default light when the file brings none.

#include <cstdint>
#include <string>
#include <vector>

#include "scenebuild/import/model.h"

namespace tsimport {

enum class Format { Gltf, Obj };  // Gltf covers .glb: the bytes tell them apart

// The format a path's extension names; false for anything else.
bool formatOf(const std::string& path, Format& format);

// False with error naming the file and the problem.
bool importFile(const std::string& path, const Conversion& conversion, Model& model, std::string& error);

// The same for a file's bytes already read; folder holds what it names. error names no file.
bool importBytes(const std::vector<uint8_t>& bytes, Format format, const std::string& folder,
                 const Conversion& conversion, Model& model, std::string& error);

// Each node's matrix in the model's space (row vectors: scale, rotation, position, parents').
std::vector<ts3d::matrix> worldMatrices(const Model& model);

// The box around every mesh vertex placed by its nodes; false when there is none.
bool bounds(const Model& model, ts3d::vect3& low, ts3d::vect3& high);

}  // namespace tsimport
