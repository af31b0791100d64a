// The one compilation of the header-only parsers' implementations.
// Its writer, compiled in with the rest, needs the file streams that TINYGLTF_NO_FS leaves out.
#include <fstream>

#define TINYGLTF_IMPLEMENTATION
#include "scenebuild/import/tinygltf.h"

#define TINYOBJLOADER_IMPLEMENTATION
#include <tiny_obj_loader.h>
