#pragma once

// Enters the geometry classes in the chunk registry ("GOSM", "GOCP", "MOST"). Every executable
// or module that reads geometries calls it once before the first file is read. The registrars
// live inside the function because a static library drops object files that nothing refers
// to, registrars and all; a call can't be dropped. Further calls do nothing.
namespace ts3d {

void registerGeometryChunks();

}  // namespace ts3d
