#include "tools/body_printer.h"

#include <cstring>

#include "io/trace.h"

namespace tstool {
namespace {

using tsio::layout::Kind;

constexpr size_t kShownBytes = 16;
// Columns of indent for each level of chunks.
constexpr size_t kIndent = 4;

float floatAt(const uint8_t* p) {
  float value;
  std::memcpy(&value, p, sizeof value);
  return value;
}

std::string floats(const uint8_t* p, size_t count) {
  std::string text = "(";
  for (size_t i = 0; i < count; ++i) text += trace::text(i ? ", %g" : "%g", floatAt(p + 4 * i));
  return text + ")";
}

std::string flagsText(const tsio::layout::Field& field, uint32_t value) {
  std::string names;
  uint32_t rest = value;
  for (const tsio::layout::Flag& flag : field.flags)
    if (value & flag.bit) {
      names += names.empty() ? flag.name : std::string(", ") + flag.name;
      rest &= ~flag.bit;
    }
  if (rest) names += trace::text("%sunnamed 0x%X", names.empty() ? "" : ", ", rest);
  return trace::text("0x%X (%s)", value, names.empty() ? "none" : names.c_str());
}

std::string quoted(const uint8_t* p, size_t size) {
  std::string text = "\"";
  for (size_t i = 0; i + 1 < size; ++i) {
    const uint8_t c = p[i];
    if (c == '"' || c == '\\')
      text += {'\\', static_cast<char>(c)};
    else if (c >= 0x20 && c < 0x7F)
      text += static_cast<char>(c);
    else
      text += trace::text("\\x%02X", c);
  }
  return text + "\"";
}

}  // namespace

std::string valueText(const tsio::layout::Field& field, const uint8_t* bytes, size_t size, bool full) {
  switch (field.kind) {
    case Kind::Float: return trace::text("%g", floatAt(bytes));
    case Kind::Double: {
      double value;
      std::memcpy(&value, bytes, sizeof value);
      return trace::text("%g", value);
    }
    case Kind::Bool: return bytes[0] <= 1 ? (bytes[0] ? "true" : "false") : trace::text("true (%u)", bytes[0]);
    case Kind::Vect3: return floats(bytes, 3);
    case Kind::Quat: case Kind::Color: return floats(bytes, 4);
    case Kind::Matrix: return floats(bytes, 4) + " " + floats(bytes + 16, 4) + " " + floats(bytes + 32, 4) + " " +
                              floats(bytes + 48, 4);
    case Kind::String: return quoted(bytes, size);
    case Kind::Bytes: {
      std::string text = trace::text("%zu bytes", size);
      const size_t shown = full ? size : std::min(size, kShownBytes);
      for (size_t i = 0; i < shown; ++i) text += trace::text("%s%02X", i ? " " : ": ", bytes[i]);
      return shown < size ? text + " ..." : text;
    }
    default: break;
  }
  const int64_t value = tsio::layout::integerAt(field.kind, bytes);
  if (!field.flags.empty()) return flagsText(field, static_cast<uint32_t>(value));
  return std::to_string(value);
}

void BodyPrinter::line(int64_t offset, const std::string& text) {
  // Fields a step inside their chunk's line.
  const size_t indent = frames.empty() ? 0 : kIndent * (frames.back().depth - 1) + kIndent / 2;
  const std::string shown = offset < 0 ? "" : std::to_string(offset);
  std::fprintf(out, "%10s  %*s%s\n", shown.c_str(), static_cast<int>(indent), "", text.c_str());
}

bool BodyPrinter::hidden() {
  if (full || frames.empty()) return false;
  // The outermost array whose item is left out says so at its end.
  for (Array& array : frames.back().arrays)
    if (array.index >= kShownItems) {
      array.hid = true;
      return true;
    }
  return false;
}

void BodyPrinter::chunk(const tsio::layout::ChunkHeader& chunk) {
  const std::string className = chunk.format ? chunk.format->className : "a code the format doesn't know";
  std::fprintf(out, "%10lld  %*s%s  version %u, id %u, %d bytes: %s\n", static_cast<long long>(chunk.offset),
               static_cast<int>(kIndent * (chunk.depth - 1)), "", tsio::layout::codeText(chunk.code).c_str(),
               chunk.version, chunk.id, chunk.size, className.c_str());
  frames.push_back(Frame{chunk.depth, {}});
}

void BodyPrinter::skipped(const tsio::layout::ChunkHeader& chunk) {
  if (chunk.format)
    line(chunk.offset + tsio::layout::kHeaderBytes,
         trace::text("(the class reads versions %d to %d: the body is stepped over whole)", chunk.format->lowest,
                     chunk.format->highest));
  else
    line(chunk.offset + tsio::layout::kHeaderBytes, "(unknown: the body is stepped over by its size)");
}

void BodyPrinter::chunkEnd(const tsio::layout::ChunkHeader&) { frames.pop_back(); }

void BodyPrinter::value(int64_t offset, const std::string& path, const tsio::layout::Field& field,
                        const uint8_t* bytes, size_t size) {
  if (!hidden()) line(offset, path + " = " + valueText(field, bytes, size, full));
}

void BodyPrinter::object(int64_t offset, const std::string& path, const tsio::layout::ObjectWord& word) {
  using Form = tsio::layout::ObjectWord::Form;
  if (word.form == Form::Null)
    line(offset, path + ": null");
  else if (word.form == Form::Chunk)
    line(offset, path + ":");
  else if (word.targetCode == 0)
    line(offset, trace::text("%s -> id %u (an object the reader doesn't make: null)", path.c_str(), word.id));
  else
    line(offset, trace::text("%s -> id %u (%s at %lld)", path.c_str(), word.id,
                             tsio::layout::codeText(word.targetCode).c_str(),
                             static_cast<long long>(word.targetOffset)));
}

void BodyPrinter::arrayBegin(int64_t offset, const std::string& path, uint32_t count) {
  if (!hidden()) line(offset, trace::text("%s: %u item%s", path.c_str(), count, count == 1 ? "" : "s"));
  frames.back().arrays.push_back(Array{path, count, 0, false});
}

void BodyPrinter::element(uint32_t index) { frames.back().arrays.back().index = index; }

void BodyPrinter::arrayEnd() {
  const Array array = frames.back().arrays.back();
  frames.back().arrays.pop_back();
  if (array.hid && !hidden())
    line(-1, trace::text("... %u more items of %s (--full shows them)", array.count - kShownItems, array.path.c_str()));
}

}  // namespace tstool
