#pragma once

#include <string>

// Which data item a file becomes, told by the text from the path's last dot on,
// compared case-sensitively.
enum class DataKind { None, Scene, Texture };

DataKind dataKindOf(const std::string& path);
