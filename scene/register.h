#pragma once

// Enters the scene classes of this library in the chunk registry under their codes (TRPR, CPRS,
// CMTX, cASM, LTOM, MESM, HINO, SCHE), together with the controllers and geometries they hold.
// Call once before the first file is read; further calls do nothing. The registrers live inside
// the function so that a static library can't lose them.
namespace ts3d {

void registerSceneChunks();

}  // namespace ts3d
