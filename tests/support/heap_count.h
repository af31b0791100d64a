#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Every heap block of a test program that links heap_count.cpp is counted, so that a refused
// read can be shown to free everything it made, in the Windows build too, where no leak
// checker runs.
namespace tstest {

long liveHeapBlocks();

// What reading a file gave: an object or not, the boxes shown, and the blocks left behind
// once the result is freed (measured on a second read, as the kept boxes are blocks too).
struct CountedRead {
  bool loaded = false;
  std::vector<std::string> boxes;
  long leaked = 0;
};
CountedRead readCounted(const std::vector<uint8_t>& file);

// No object, exactly one box holding reason, nothing left behind.
void expectRefused(const std::vector<uint8_t>& file, const std::string& reason);

// The whole file loads cleanly; every cut of it from 4 bytes on is refused.
void expectEveryCutRefused(const std::vector<uint8_t>& file);

}  // namespace tstest
