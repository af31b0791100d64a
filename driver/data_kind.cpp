#include "driver/data_kind.h"

DataKind dataKindOf(const std::string& path) {
  const size_t dot = path.rfind('.');
  if (dot == std::string::npos) return DataKind::None;
  const std::string extension = path.substr(dot);
  if (extension == ".ts2") return DataKind::Scene;
  for (const char* image : {".bmp", ".dds", ".dib", ".jpg", ".png", ".tga"})
    if (extension == image) return DataKind::Texture;
  return DataKind::None;
}
