#pragma once

#include <cstdint>
#include <vector>

namespace tstest {

// One well-formed persistence file of each controller class, and a test node owning
// a Conv and its source: seeds for hostile-input tests and the fuzz corpus.
std::vector<std::vector<uint8_t>> controllerSampleFiles();

}  // namespace tstest
