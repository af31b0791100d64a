#pragma once

#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

// What the body of each chunk code holds, field by field: one table, read by the tool that
// dumps and checks files and by the tests that hold it to what the classes store. It knows
// no class; adding a class is a row of chunkFormats() in chunk_format.cpp.
namespace tsio::layout {

enum class Kind : uint8_t {
  Int8, Uint8, Int16, Uint16, Int32, Uint32, Float, Double, Bool,  // bool: one byte
  Vect3, Quat, Color, Matrix,  // 3, 4, 4 and 16 floats
  String,                      // ends with a 0 byte
  Count,                       // uint32 count of what follows; never more than the bytes left
  Bytes,                       // `count` raw bytes
  Object,                      // an object word: null, a reference or a nested chunk
  Array,                       // the fields of `items`, `count` or `times` times, else a Count and that many
  Group,                       // the fields of `items`, inline
  Tree,                        // an object; when it is a `code` chunk, a count and that many trees
};

// A bit of a flags field and its name, for dumps.
struct Flag {
  uint32_t bit;
  const char* name;
};

// When a field is in the body at all.
struct Condition {
  enum class Test : uint8_t { Always, AllBits, NoBits, Equals, VersionAtLeast, VersionIs };
  Test test = Test::Always;
  const char* field = nullptr;  // an earlier integer field of the same body
  int64_t value = 0;
};

struct Field {
  Field(Kind fieldKind, const char* fieldName, std::vector<Field> fieldItems = {})
      : kind(fieldKind), name(fieldName), items(std::move(fieldItems)) {}

  Kind kind;
  const char* name;
  std::vector<Field> items;      // Array, Group
  const char* count = nullptr;   // Array, Bytes: the earlier Count field
  uint32_t times = 0;            // Array without a count field: a fixed number
  uint32_t code = 0;             // Tree: the class of its nodes
  std::vector<Flag> flags;       // integer fields whose bits have names
  Condition when;
};

// Any version: the class reads every version alike.
constexpr int kAnyVersion = -1;

struct ChunkFormat {
  uint32_t code;
  const char* className;
  int current;  // the version that store writes
  int lowest;   // what load reads; a chunk of another version is stepped over whole
  int highest;
  std::vector<Field> fields;
  bool reads(int version) const { return lowest == kAnyVersion || (version >= lowest && version <= highest); }
};

// Every chunk code of the format.
const std::vector<ChunkFormat>& chunkFormats();
// Null for a code the format doesn't know.
const ChunkFormat* findFormat(uint32_t code);

// The bytes a value of a fixed-size kind takes; 0 for the others.
uint32_t fixedBytes(Kind kind);

// Words that make the table read as the file layouts do.
Field value(Kind kind, const char* name);
Field flags(Kind kind, const char* name, std::initializer_list<Flag> bits);
Field count(const char* name);
Field bytes(const char* name, const char* countField);
Field object(const char* name);
Field array(const char* name, const char* countField, std::vector<Field> items);
Field repeat(const char* name, uint32_t times, std::vector<Field> items);
Field group(const char* name, std::vector<Field> items);
Field tree(const char* name, uint32_t nodeCode);
// The fields of items, as many times as a count right before them says.
Field counted(const char* name, std::vector<Field> items);
// A counted list of objects.
Field list(const char* name);

Field when(Condition condition, Field field);
Condition allBits(const char* field, uint32_t bits);
Condition noBits(const char* field, uint32_t bits);
Condition equals(const char* field, int64_t value);
Condition versionAtLeast(int version);
Condition versionIs(int version);

}  // namespace tsio::layout
