#pragma once

// The glTF parser as every file of ours includes it: images are kept as the file's bytes
// (the engine's own decoders read them), so its image coder is never compiled in; and it has
// no file access of its own: the reader gives it callbacks that bound what a file may pull in.
#define TINYGLTF_NO_FS
#define TINYGLTF_NO_STB_IMAGE
#define TINYGLTF_NO_STB_IMAGE_WRITE
#include <tiny_gltf.h>
