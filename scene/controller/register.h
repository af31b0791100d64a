#pragma once

// Enters every controller class in the chunk registry under its code (CCFL, CCV3, CCQU, CCCO,
// CLFL, CLV3, CLQU, CLCO, CLMT, CoCF, CVCV). Every executable or module that reads
// controllers calls it once before the first file is read. The registrers live inside this
// function rather than in file-scope statics, because a static library loses object files that
// nothing refers to, registrers and all; a call can't be lost. Further calls do nothing; the
// codes leave the registry at exit.
namespace ts3d::controller {

void registerControllerChunks();

}  // namespace ts3d::controller
