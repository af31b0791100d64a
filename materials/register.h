#pragma once

// Enters the texture and material classes of this library in the chunk registry under their
// codes (TXBF, TS__, MTSM), together with the controllers they hold. Call once before the
// first file is read; further calls do nothing. The registrers live inside the function so
// that a static library can't lose them.
namespace ts3d {

void registerMaterialChunks();

}  // namespace ts3d
