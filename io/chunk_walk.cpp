#include "io/chunk_walk.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "io/trace.h"

namespace tsio::layout {
namespace {

constexpr uint32_t kReferenceTag = 0x80000000u;
constexpr uint32_t kIdBits = 0xFFFFu;

uint32_t u32At(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}
uint16_t u16At(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }

}  // namespace

int64_t integerAt(Kind kind, const uint8_t* p) {
  switch (kind) {
    case Kind::Int8: return static_cast<int8_t>(p[0]);
    case Kind::Uint8: case Kind::Bool: return p[0];
    case Kind::Int16: return static_cast<int16_t>(u16At(p));
    case Kind::Uint16: return u16At(p);
    case Kind::Int32: return static_cast<int32_t>(u32At(p));
    default: return u32At(p);
  }
}

namespace {

bool isInteger(Kind kind) { return kind <= Kind::Uint32 || kind == Kind::Bool || kind == Kind::Count; }

std::string describe(const ChunkHeader& chunk) {
  return trace::text("%s (id %u) at offset %lld", codeText(chunk.code).c_str(), chunk.id,
                     static_cast<long long>(chunk.offset));
}

// The body being walked: its chunk, where it ends and the integers read so far, which later
// fields take their counts and conditions from.
struct Body {
  const ChunkHeader& chunk;
  size_t end;
  std::vector<std::pair<const char*, int64_t>> integers;
};

class Walker {
 public:
  Walker(const uint8_t* bytes, size_t length, int64_t offsetBase, WalkVisitor* walkVisitor)
      : data(bytes), size(length), base(offsetBase), visitor(walkVisitor) {}

  WalkResult run();

 private:
  struct Stored {
    uint32_t code;  // 0 for ids inside a skipped body and for unknown codes
    int64_t offset;
  };
  struct Step {
    const char* name;
    int64_t index;  // -1 for a named field
  };

  bool walkChunk(size_t& at, size_t limit, size_t depth, uint32_t& code);
  bool walkObject(size_t& at, Body& body, size_t depth, uint32_t& code);
  bool walkFields(const std::vector<Field>& fields, size_t& at, Body& body, size_t depth);
  bool walkField(const Field& field, size_t& at, Body& body, size_t depth);
  bool walkArray(const Field& field, size_t& at, Body& body, size_t depth);
  bool walkTree(const Field& field, size_t& at, Body& body, size_t depth, uint32_t level);
  bool readCount(size_t& at, Body& body, const char* name, uint32_t& count);
  bool present(const Condition& condition, const Body& body, bool& here);
  bool integerOf(const Body& body, const char* name, int64_t& result);
  bool need(size_t at, size_t bytes, const Body& body);

  bool fault(size_t at, const std::string& what);
  bool bodyFault(size_t at, const Body& body, const std::string& what);
  std::string path() const;
  long long shown(size_t at) const { return static_cast<long long>(base + static_cast<int64_t>(at)); }

  const uint8_t* data;
  size_t size;
  int64_t base;
  WalkVisitor* visitor;
  std::vector<Stored> objects;  // by id
  bool skippedIds = false;      // a skipped body may have held objects: ids may leap
  std::vector<Step> steps;      // the field being read, inside the innermost body
  WalkResult result;
};

bool Walker::fault(size_t at, const std::string& what) {
  result.ok = false;
  result.faultOffset = base + static_cast<int64_t>(at);
  result.fault = what;
  return false;
}

bool Walker::bodyFault(size_t at, const Body& body, const std::string& what) {
  return fault(at, what + " (field " + path() + " of " + describe(body.chunk) + ")");
}

std::string Walker::path() const {
  std::string text;
  for (const Step& step : steps) {
    if (step.index >= 0) {
      text += "[" + std::to_string(step.index) + "]";
    } else if (*step.name) {
      if (!text.empty()) text += '.';
      text += step.name;
    }
  }
  return text;
}

bool Walker::need(size_t at, size_t bytes, const Body& body) {
  if (bytes <= body.end - at) return true;
  return bodyFault(at, body,
                   trace::text("%zu bytes needed, but the body ends at offset %lld", bytes, shown(body.end)));
}

bool Walker::integerOf(const Body& body, const char* name, int64_t& value) {
  for (auto entry = body.integers.rbegin(); entry != body.integers.rend(); ++entry)
    if (std::strcmp(entry->first, name) == 0) {
      value = entry->second;
      return true;
    }
  return bodyFault(body.end, body, trace::text("the description names '%s', which wasn't read before", name));
}

bool Walker::present(const Condition& condition, const Body& body, bool& here) {
  using Test = Condition::Test;
  int64_t value = 0;
  switch (condition.test) {
    case Test::Always: here = true; return true;
    case Test::VersionAtLeast: here = body.chunk.version >= condition.value; return true;
    case Test::VersionIs: here = body.chunk.version == condition.value; return true;
    default: break;
  }
  if (!integerOf(body, condition.field, value)) return false;
  const auto bits = static_cast<uint64_t>(condition.value);
  if (condition.test == Test::AllBits) here = (static_cast<uint64_t>(value) & bits) == bits;
  if (condition.test == Test::NoBits) here = (static_cast<uint64_t>(value) & bits) == 0;
  if (condition.test == Test::Equals) here = value == condition.value;
  return true;
}

// A count is a uint32, as load reads it, and never more than the bytes left: each item takes
// at least one, and the reader refuses a count its stream can't hold.
bool Walker::readCount(size_t& at, Body& body, const char* name, uint32_t& count) {
  if (!need(at, 4, body)) return false;
  count = u32At(data + at);
  const size_t left = body.end - at - 4;
  if (count > left)
    return bodyFault(at, body, trace::text("a count of %u, with %zu bytes left in the body", count, left));
  body.integers.emplace_back(name, count);
  at += 4;
  return true;
}

bool Walker::walkFields(const std::vector<Field>& fields, size_t& at, Body& body, size_t depth) {
  for (const Field& field : fields) {
    steps.push_back(Step{field.name, -1});
    bool here = false;
    if (!present(field.when, body, here) || (here && !walkField(field, at, body, depth))) return false;
    steps.pop_back();
  }
  return true;
}

bool Walker::walkField(const Field& field, size_t& at, Body& body, size_t depth) {
  const size_t start = at;
  size_t length = fixedBytes(field.kind);
  uint32_t code = 0;
  switch (field.kind) {
    case Kind::Object: return walkObject(at, body, depth, code);
    case Kind::Array: return walkArray(field, at, body, depth);
    case Kind::Group: return walkFields(field.items, at, body, depth);
    case Kind::Tree: return walkTree(field, at, body, depth, 0);
    case Kind::Count: {
      uint32_t count = 0;
      if (!readCount(at, body, field.name, count)) return false;
      break;
    }
    case Kind::String: {
      const auto* end = static_cast<const uint8_t*>(std::memchr(data + at, 0, body.end - at));
      if (!end) return bodyFault(at, body, "a string without its 0 byte before the end of the body");
      length = static_cast<size_t>(end - data) - at + 1;
      at += length;
      break;
    }
    case Kind::Bytes: {
      int64_t count = 0;
      if (!integerOf(body, field.count, count) || !need(at, static_cast<size_t>(count), body)) return false;
      length = static_cast<size_t>(count);
      at += length;
      break;
    }
    default:
      if (!need(at, length, body)) return false;
      if (isInteger(field.kind)) body.integers.emplace_back(field.name, integerAt(field.kind, data + at));
      at += length;
  }
  if (visitor) visitor->value(base + static_cast<int64_t>(start), path(), field, data + start, length);
  return true;
}

bool Walker::walkArray(const Field& field, size_t& at, Body& body, size_t depth) {
  const size_t start = at;
  uint32_t count = field.times;
  if (field.count) {
    int64_t value = 0;
    if (!integerOf(body, field.count, value)) return false;
    count = static_cast<uint32_t>(value);
  } else if (field.times == 0 && !readCount(at, body, field.name, count)) {
    return false;
  }
  if (visitor) visitor->arrayBegin(base + static_cast<int64_t>(start), path(), count);
  for (uint32_t i = 0; i < count; ++i) {
    // What an item reads is its own: a later item or field can't take a count from it.
    const size_t mark = body.integers.size();
    steps.push_back(Step{"", i});
    if (visitor) visitor->element(i);
    if (!walkFields(field.items, at, body, depth)) return false;
    steps.pop_back();
    body.integers.resize(mark);
  }
  if (visitor) visitor->arrayEnd();
  return true;
}

// A node, and when it is a node of the tree's class, its child count and its children.
bool Walker::walkTree(const Field& field, size_t& at, Body& body, size_t depth, uint32_t level) {
  if (level >= kMaxTreeDepth)
    return bodyFault(at, body, trace::text("the tree is deeper than %u levels", kMaxTreeDepth));
  uint32_t code = 0;
  if (!walkObject(at, body, depth, code)) return false;
  if (code != field.code) return true;
  steps.push_back(Step{"children", -1});
  const size_t start = at;
  uint32_t count = 0;
  if (!readCount(at, body, "children", count)) return false;
  if (visitor) visitor->arrayBegin(base + static_cast<int64_t>(start), path(), count);
  for (uint32_t i = 0; i < count; ++i) {
    steps.push_back(Step{"", i});
    if (visitor) visitor->element(i);
    if (!walkTree(field, at, body, depth, level + 1)) return false;
    steps.pop_back();
  }
  if (visitor) visitor->arrayEnd();
  steps.pop_back();
  return true;
}

// code: the class of what the field holds, 0 for null and for what the reader can't make.
bool Walker::walkObject(size_t& at, Body& body, size_t depth, uint32_t& code) {
  if (!need(at, 4, body)) return false;
  const uint32_t word = u32At(data + at);
  const auto offset = base + static_cast<int64_t>(at);
  if (word == 0) {
    if (visitor) visitor->object(offset, path(), ObjectWord{ObjectWord::Form::Null});
    at += 4;
    return true;
  }
  if (word & kReferenceTag) {
    const auto id = static_cast<uint16_t>(word & kIdBits);
    if ((word & ~(kReferenceTag | kIdBits)) != 0)
      return bodyFault(at, body, trace::text("bad reference %08X: bits between the tag and the id", word));
    if (id >= objects.size())
      return bodyFault(at, body,
                       trace::text("bad reference %08X: id %u, but only %zu object%s stored before it", word, id,
                                   objects.size(), objects.size() == 1 ? " was" : "s were"));
    code = objects[id].code;
    ++result.references;
    if (visitor) visitor->object(offset, path(), ObjectWord{ObjectWord::Form::Reference, id, code, objects[id].offset});
    at += 4;
    return true;
  }
  if (visitor) visitor->object(offset, path(), ObjectWord{ObjectWord::Form::Chunk});
  // The nested body has fields of its own.
  std::vector<Step> outer;
  outer.swap(steps);
  const bool walked = walkChunk(at, body.end, depth + 1, code);
  if (walked) steps.swap(outer);
  return walked;
}

bool Walker::walkChunk(size_t& at, size_t limit, size_t depth, uint32_t& code) {
  if (limit - at < kHeaderBytes)
    return fault(at, trace::text("a chunk header needs %zu bytes, but %s ends at offset %lld", kHeaderBytes,
                                 depth == 1 ? "the data" : "its parent's body", shown(limit)));
  const uint8_t* p = data + at;
  const ChunkHeader chunk{shown(at), depth,  u32At(p), u16At(p + 4), u16At(p + 6), static_cast<int32_t>(u32At(p + 8)),
                          findFormat(u32At(p))};
  if (chunk.size < 0)
    return fault(at, trace::text("chunk %s declares a body of %d bytes%s", describe(chunk).c_str(), chunk.size,
                                 chunk.size == -1 ? " (the writer never finished it)" : ""));
  const size_t end = at + kHeaderBytes + static_cast<size_t>(chunk.size);
  if (static_cast<size_t>(chunk.size) > limit - at - kHeaderBytes)
    return fault(at, trace::text("%schunk %s declares %d body bytes, to offset %lld, past the end of %s at %lld",
                                 limit == size ? "truncated: " : "", describe(chunk).c_str(), chunk.size, shown(end),
                                 depth == 1 ? "the data" : "its parent's body", shown(limit)));
  if (depth > kMaxDepth)
    return fault(at, trace::text("chunk %s nests deeper than %zu levels", describe(chunk).c_str(), kMaxDepth));
  if (chunk.id < objects.size() || (chunk.id > objects.size() && !skippedIds))
    return fault(at, trace::text("chunk %s: ids count up from 0 in the order of the file, and the next is %zu",
                                 describe(chunk).c_str(), objects.size()));
  objects.resize(chunk.id, Stored{0, 0});
  objects.push_back(Stored{chunk.format ? chunk.code : 0, chunk.offset});
  ++result.chunks;
  result.depth = std::max(result.depth, depth);
  if (visitor) visitor->chunk(chunk);
  code = objects.back().code;
  if (!chunk.format || !chunk.format->reads(chunk.version)) {
    ++result.skipped;
    skippedIds = true;
    if (visitor) {
      visitor->skipped(chunk);
      visitor->chunkEnd(chunk);
    }
    at = end;
    return true;
  }
  Body body{chunk, end, {}};
  at += kHeaderBytes;
  if (!walkFields(chunk.format->fields, at, body, depth)) return false;
  if (at != end)
    return fault(at, trace::text("the fields of %s end %zu bytes before its body does, at offset %lld",
                                 describe(chunk).c_str(), end - at, shown(end)));
  if (visitor) visitor->chunkEnd(chunk);
  return true;
}

WalkResult Walker::run() {
  if (size < 4) {
    fault(size, "truncated: the object stream ends before its first word");
    return result;
  }
  const uint32_t word = u32At(data);
  if (word == 0) {
    result.nullRoot = true;
    if (size > 4)
      fault(4, trace::text("%zu byte%s behind the null root", size - 4, size - 4 == 1 ? "" : "s"));
    else
      result.ok = true;
    return result;
  }
  if (word & kReferenceTag) {
    fault(0, trace::text("bad reference: the root is the word %08X, but no object was stored before it", word));
    return result;
  }
  size_t at = 0;
  if (!walkChunk(at, size, 1, result.rootCode)) return result;
  if (result.rootCode == 0) {
    fault(0, "the root chunk " + codeText(word) + " is of no class the format knows");
  } else if (at < size) {
    fault(at, trace::text("%zu byte%s behind the root chunk, which ends here", size - at, size - at == 1 ? "" : "s"));
  } else {
    result.ok = true;
  }
  return result;
}

}  // namespace

WalkResult walkObjectStream(const uint8_t* data, size_t size, int64_t base, WalkVisitor* visitor) {
  return Walker(data, size, base, visitor).run();
}

std::string codeText(uint32_t code) {
  std::string text;
  for (int i = 0; i < 4; ++i) {
    const auto c = static_cast<uint8_t>(code >> (8 * i));
    if (c >= 0x20 && c < 0x7F && c != '\\')
      text.push_back(static_cast<char>(c));
    else
      text += trace::text("\\x%02X", c);
  }
  return text;
}

}  // namespace tsio::layout
