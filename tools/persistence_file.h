#pragma once

#include <cstdint>
#include <string>
#include <vector>

// A persistence file as ts2 sees it: the magic, and the object stream that follows it, unpacked
// when the file holds a bzip2 block. Everything in the file is checked before it is believed.
namespace tstool {

enum class Packing { Plain, Bzip2 };

struct PersistenceFile {
  Packing packing = Packing::Plain;
  std::vector<uint8_t> objectStream;
  uint64_t fileSize = 0;
  uint32_t packedSize = 0;  // bytes of the bzip2 block, for "IOBZ"

  // What to add to a position in the object stream to show it: file offsets for "NONE", the
  // unpacked stream's own offsets for "IOBZ".
  int64_t offsetBase() const { return packing == Packing::Plain ? 4 : 0; }
  const char* magicName() const { return packing == Packing::Plain ? "NONE" : "IOBZ"; }
};

struct Problem {
  bool inFile = false;  // a fault of the data at offset, rather than of reading the file
  int64_t offset = 0;   // file offset
  std::string what;
};

// The whole file into memory; false with what went wrong. Files beyond the format's 32-bit
// offsets are refused.
bool readWholeFile(const std::string& path, std::vector<uint8_t>& bytes, Problem& problem);

// Reads the file and its object stream; false with the problem.
bool readPersistenceFile(const std::string& path, PersistenceFile& file, Problem& problem);
// The same over the bytes of a file.
bool parsePersistenceFile(const std::vector<uint8_t>& bytes, PersistenceFile& file, Problem& problem);

// Writes bytes to path as a whole or not at all: into a new file beside it, which then replaces
// path by a rename. False with the reason; then path is as it was and nothing is left behind.
bool writeFileAtomically(const std::string& path, const std::vector<uint8_t>& bytes, std::string& error);

// True when both paths name one existing file (also through links).
bool sameFile(const std::string& first, const std::string& second);

}  // namespace tstool
