#pragma once

// Model files (.gltf, .glb, .obj) as data items: the host has tsimport.exe, beside its own
// program, make a scene file of one, which the driver then loads like any other. The host
// stays apart from the importer's and the engine's code: it only runs the tool.

#include <string>

namespace host {

// Whether the path names a model file that takes importing first.
bool isModelFile(const std::string& path);

// A scene file in the temporary folder made from the model at path (the caller deletes it).
// False with error (the tool's message: the file and the problem) when it can't be made.
bool importModel(const std::string& path, std::string& scenePath, std::string& error);

}  // namespace host
