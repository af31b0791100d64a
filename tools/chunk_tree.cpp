#include "tools/chunk_tree.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>
#include <vector>

#include "io/trace.h"

namespace tstool {
namespace {

constexpr size_t kHeaderBytes = 12;
constexpr uint32_t kReferenceTag = 0x80000000u;
// Versions are small numbers in practice; asking for it keeps opaque data from passing as a chunk.
constexpr uint32_t kMaxNestedVersion = 0xFF;
// One printable character and a 0 byte are too often an int32 to count as a string.
constexpr size_t kMinStringLetters = 2;

uint16_t u16At(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
uint32_t u32At(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}

bool isCodeLetter(uint8_t c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}
bool isPrintable(uint8_t c) { return c >= 0x20 && c < 0x7F; }

std::string format(const char* pattern, ...) TS_PRINTF_FORMAT(1, 2);
std::string format(const char* pattern, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, pattern);
  std::vsnprintf(text, sizeof text, pattern, arguments);
  va_end(arguments);
  return text;
}

struct Frame {
  Chunk chunk;
  size_t end;             // position behind the body as declared; may lie beyond the data
  size_t limit;           // the end, or the end of the data if that comes first
  size_t position;        // the next byte to look at
  size_t anchor;          // where the current 4-byte step began
  size_t noStringBefore;  // lane positions before this were already found not to start a string
};

class Walker {
 public:
  Walker(const uint8_t* bytes, size_t length, int64_t offsetBase, TreeVisitor* treeVisitor)
      : data(bytes), size(length), base(offsetBase), visitor(treeVisitor) {}

  WalkResult run();

 private:
  bool walkBodies();
  bool chunkStartsAt(size_t position, size_t limit) const;
  void open(size_t position);
  bool fault(size_t position, std::string what);
  std::string describe(const Chunk& chunk) const;
  long long shown(size_t position) const { return static_cast<long long>(base + static_cast<int64_t>(position)); }

  const uint8_t* data;
  size_t size;
  int64_t base;
  TreeVisitor* visitor;
  std::vector<Frame> frames;
  std::vector<std::pair<uint32_t, int64_t>> objects;  // code and offset, by id
  WalkResult result;
};

bool Walker::fault(size_t position, std::string what) {
  result.ok = false;
  result.faultOffset = base + static_cast<int64_t>(position);
  result.fault = std::move(what);
  return false;
}

std::string Walker::describe(const Chunk& chunk) const {
  return format("%s (id %u) at offset %lld", codeText(chunk.code).c_str(), chunk.id,
                static_cast<long long>(chunk.offset));
}

bool Walker::chunkStartsAt(size_t position, size_t limit) const {
  if (position + kHeaderBytes > limit || objects.size() >= kMaxObjects) return false;
  const uint8_t* p = data + position;
  return isCodeLetter(p[0]) && isCodeLetter(p[1]) && isCodeLetter(p[2]) && isCodeLetter(p[3]) &&
         u16At(p + 4) <= kMaxNestedVersion && u16At(p + 6) == objects.size();
}

void Walker::open(size_t position) {
  const uint8_t* p = data + position;
  Frame frame{};
  frame.chunk = Chunk{shown(position), frames.size() + 1, u32At(p), u16At(p + 4), u16At(p + 6),
                      static_cast<int32_t>(u32At(p + 8))};
  frame.end = position + kHeaderBytes + static_cast<size_t>(frame.chunk.size);
  frame.limit = std::min(frame.end, size);
  frame.position = frame.anchor = frame.noStringBefore = position + kHeaderBytes;
  objects.emplace_back(frame.chunk.code, frame.chunk.offset);
  frames.push_back(frame);
  ++result.chunks;
  result.depth = std::max(result.depth, frames.size());
  if (visitor) visitor->chunk(frame.chunk);
}

WalkResult Walker::run() {
  if (size < 4) {
    fault(size, "truncated: the object stream ends before its first word");
    return result;
  }
  const uint32_t word = u32At(data);
  if (word == 0) {
    result.nullRoot = true;
    if (size > 4) {
      fault(4, format("%zu byte%s behind the null root", size - 4, size - 4 == 1 ? "" : "s"));
      return result;
    }
    result.ok = true;
    return result;
  }
  if (word & kReferenceTag) {
    fault(0, format("bad reference: the root is the word %08X, but no object was stored before it", word));
    return result;
  }
  if (size < kHeaderBytes) {
    fault(size, "truncated: the data ends inside the header of the root chunk");
    return result;
  }
  const auto bodySize = static_cast<int32_t>(u32At(data + 8));
  const Chunk root{base, 1, word, u16At(data + 4), u16At(data + 6), bodySize};
  if (!isCodeLetter(data[0]) || !isCodeLetter(data[1]) || !isCodeLetter(data[2]) || !isCodeLetter(data[3])) {
    fault(0, "bad chunk code " + codeText(word) + ": a code is four letters");
    return result;
  }
  if (root.id != 0) {
    fault(0, format("the root chunk %s doesn't have the first id, 0", describe(root).c_str()));
    return result;
  }
  if (bodySize < 0) {
    fault(0, format("chunk %s declares a body of %d bytes%s", describe(root).c_str(), bodySize,
                    bodySize == -1 ? " (the writer never finished it)" : ""));
    return result;
  }
  open(0);
  if (!walkBodies()) return result;
  const size_t rootEnd = kHeaderBytes + static_cast<size_t>(bodySize);
  if (rootEnd < size) {
    fault(rootEnd, format("%zu byte%s behind the root chunk, which ends here", size - rootEnd,
                          size - rootEnd == 1 ? "" : "s"));
    return result;
  }
  result.ok = true;
  return result;
}

bool Walker::walkBodies() {
  while (!frames.empty()) {
    Frame& frame = frames.back();
    const size_t p = frame.position;
    if (p >= frame.limit) {
      if (frame.end > size)
        return fault(size, format("truncated: the data ends inside chunk %s, whose body runs to offset %lld",
                                  describe(frame.chunk).c_str(), shown(frame.end)));
      const size_t end = frame.end;
      frames.pop_back();
      if (!frames.empty()) frames.back().position = frames.back().anchor = end;
      continue;
    }

    if (chunkStartsAt(p, frame.limit)) {
      const uint8_t* header = data + p;
      const Chunk nested{shown(p), frames.size() + 1, u32At(header), u16At(header + 4), u16At(header + 6),
                         static_cast<int32_t>(u32At(header + 8))};
      if (nested.size < 0)
        return fault(p, format("chunk %s declares a body of %d bytes%s", describe(nested).c_str(), nested.size,
                               nested.size == -1 ? " (the writer never finished it)" : ""));
      const size_t end = p + kHeaderBytes + static_cast<size_t>(nested.size);
      if (end > frame.end)
        return fault(p, format("chunk %s declares %d body bytes, to offset %lld, past the end of its parent %s at %lld",
                               describe(nested).c_str(), nested.size, shown(end), describe(frame.chunk).c_str(),
                               shown(frame.end)));
      if (frames.size() >= kMaxDepth)
        return fault(p, format("chunk %s nests deeper than %zu levels", describe(nested).c_str(), kMaxDepth));
      open(p);
      continue;
    }

    if ((p - frame.anchor) % 4 == 0) {
      if (p + 4 <= frame.limit) {
        const uint32_t word = u32At(data + p);
        if ((word & 0xFFFF0000u) == kReferenceTag) {
          const auto id = static_cast<uint16_t>(word & 0xFFFFu);
          if (id >= objects.size())
            return fault(p, format("bad reference %08X: id %u, but only %zu object%s stored before it", word, id,
                                   objects.size(), objects.size() == 1 ? " was" : "s were"));
          ++result.references;
          if (visitor) visitor->reference(Reference{shown(p), frames.size(), id, objects[id].first, objects[id].second});
          frame.position += 4;
          continue;
        }
      }
      if (p >= frame.noStringBefore) {
        size_t q = p;
        while (q < frame.limit && isPrintable(data[q]) && (q == p || !chunkStartsAt(q, frame.limit))) ++q;
        if (q < frame.limit && data[q] == 0 && q - p >= kMinStringLetters) {
          frame.position = frame.anchor = frame.noStringBefore = q + 1;
          continue;
        }
        // Every lane position up to q would stop at q for the same reason.
        frame.noStringBefore = q;
      }
    }
    ++frame.position;
  }
  return true;
}

}  // namespace

WalkResult walkObjectStream(const uint8_t* data, size_t size, int64_t base, TreeVisitor* visitor) {
  return Walker(data, size, base, visitor).run();
}

std::string codeText(uint32_t code) {
  std::string text;
  for (int i = 0; i < 4; ++i) {
    const auto c = static_cast<uint8_t>(code >> (8 * i));
    if (isPrintable(c) && c != '\\')
      text.push_back(static_cast<char>(c));
    else
      text += format("\\x%02X", c);
  }
  return text;
}

}  // namespace tstool
