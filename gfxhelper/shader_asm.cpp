#include "gfxhelper/shader_asm.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>

namespace fx {

namespace {

// Shader versions as bits, so that a table row can say where it is allowed.
enum VersionBit : uint32_t {
  kVs11 = 1 << 0,
  kVs20 = 1 << 1,
  kPs11 = 1 << 2,
  kPs12 = 1 << 3,
  kPs13 = 1 << 4,
  kPs14 = 1 << 5,
  kPs20 = 1 << 6,
};
constexpr uint32_t kVs = kVs11 | kVs20;
constexpr uint32_t kPs1 = kPs11 | kPs12 | kPs13;  // the fixed texture-addressing pixel shaders
constexpr uint32_t kPs1x = kPs1 | kPs14;
constexpr uint32_t kPs12Up = kPs12 | kPs13 | kPs14 | kPs20;
constexpr uint32_t kAll = kVs | kPs1x | kPs20;
constexpr int kVersionCount = 7;

struct Version {
  const char* name;
  uint32_t bit;
  uint32_t token;
};
// Indexed like the bits above: the register table counts per version in this order.
constexpr Version kVersions[kVersionCount] = {
    {"vs_1_1", kVs11, 0xFFFE0101}, {"vs_2_0", kVs20, 0xFFFE0200}, {"ps_1_1", kPs11, 0xFFFF0101},
    {"ps_1_2", kPs12, 0xFFFF0102}, {"ps_1_3", kPs13, 0xFFFF0103}, {"ps_1_4", kPs14, 0xFFFF0104},
    {"ps_2_0", kPs20, 0xFFFF0200},
};

constexpr uint32_t kEndToken = 0x0000FFFF;
constexpr uint32_t kCommentOpcode = 0xFFFE;
constexpr uint32_t kParameterBit = 0x80000000;
constexpr uint32_t kCoIssueBit = 0x40000000;
constexpr uint32_t kRelativeBit = 0x2000;
constexpr int kLengthShift = 24;
constexpr int kMaskShift = 16;
constexpr int kSwizzleShift = 16;
constexpr int kResultModifierShift = 20;
constexpr int kShiftScaleShift = 24;
constexpr int kSourceModifierShift = 24;
constexpr int kUsageIndexShift = 16;
constexpr int kTextureTypeShift = 27;
constexpr uint32_t kFullMask = 0xF;
constexpr uint32_t kIdentitySwizzle = 0xE4;  // .xyzw, two bits a component
constexpr uint32_t kMaxUsageIndex = 15;

enum RegisterType : uint32_t {
  kTemp = 0,
  kInput = 1,
  kConst = 2,
  kAddress = 3,  // a0 in vertex shaders; the same code is t in pixel shaders
  kTexture = 3,
  kRastOut = 4,
  kAttrOut = 5,
  kTexCrdOut = 6,
  kConstInt = 7,
  kColorOut = 8,
  kDepthOut = 9,
  kSampler = 10,
  kConstBool = 14,
  kLoop = 15,
  kLabel = 18,
};

enum Opcode : uint16_t {
  kDcl = 31,
  kDefB = 47,
  kDefI = 48,
  kTexKill = 65,
  kDef = 81,
};

enum SourceModifier : uint32_t {
  kNegate = 1,
  kBias = 2,
  kBiasNegate = 3,
  kSign = 4,
  kSignNegate = 5,
  kComplement = 6,
  kTimes2 = 7,
  kTimes2Negate = 8,
  kDivideZ = 9,
  kDivideW = 10,
};

struct RegisterKind {
  const char* name;  // lower case, without the number
  uint32_t type;
  bool numbered;
  uint32_t fixedIndex;  // the register number of an unnumbered name
  uint32_t writableIn;  // versions where it may be a destination
  uint16_t count[kVersionCount];
};

constexpr RegisterKind kRegisters[] = {
    {"r", kTemp, true, 0, kAll, {12, 12, 2, 2, 2, 6, 12}},
    {"v", kInput, true, 0, 0, {16, 16, 2, 2, 2, 2, 2}},
    {"c", kConst, true, 0, 0, {256, 256, 8, 8, 8, 8, 32}},
    {"a", kAddress, true, 0, kVs, {1, 1, 0, 0, 0, 0, 0}},
    {"t", kTexture, true, 0, kPs1, {0, 0, 4, 4, 4, 6, 8}},
    {"s", kSampler, true, 0, 0, {0, 0, 0, 0, 0, 0, 16}},
    {"opos", kRastOut, false, 0, kVs, {1, 1, 0, 0, 0, 0, 0}},
    {"ofog", kRastOut, false, 1, kVs, {1, 1, 0, 0, 0, 0, 0}},
    {"opts", kRastOut, false, 2, kVs, {1, 1, 0, 0, 0, 0, 0}},
    {"od", kAttrOut, true, 0, kVs, {2, 2, 0, 0, 0, 0, 0}},
    {"ot", kTexCrdOut, true, 0, kVs, {8, 8, 0, 0, 0, 0, 0}},
    {"oc", kColorOut, true, 0, kPs20, {0, 0, 0, 0, 0, 0, 4}},
    {"odepth", kDepthOut, false, 0, kPs20, {0, 0, 0, 0, 0, 0, 1}},
    {"b", kConstBool, true, 0, 0, {0, 16, 0, 0, 0, 0, 0}},
    {"i", kConstInt, true, 0, 0, {0, 16, 0, 0, 0, 0, 0}},
    {"al", kLoop, false, 0, 0, {0, 1, 0, 0, 0, 0, 0}},
    {"l", kLabel, true, 0, 0, {0, 16, 0, 0, 0, 0, 0}},
};

struct Instruction {
  const char* name;
  uint16_t opcode;
  uint32_t versions;
  bool destination;
  uint8_t sources;
  uint32_t controls = 0;  // opcode-specific bits 16-23
};

constexpr uint32_t kTexldProject = 1 << 16;
constexpr uint32_t kTexldBias = 2 << 16;

constexpr Instruction kInstructions[] = {
    {"nop", 0, kAll, false, 0},
    {"mov", 1, kAll, true, 1},
    {"add", 2, kAll, true, 2},
    {"sub", 3, kAll, true, 2},
    {"mad", 4, kAll, true, 3},
    {"mul", 5, kAll, true, 2},
    {"rcp", 6, kVs | kPs20, true, 1},
    {"rsq", 7, kVs | kPs20, true, 1},
    {"dp3", 8, kAll, true, 2},
    {"dp4", 9, kVs | kPs12Up, true, 2},
    {"min", 10, kVs | kPs20, true, 2},
    {"max", 11, kVs | kPs20, true, 2},
    {"slt", 12, kVs, true, 2},
    {"sge", 13, kVs, true, 2},
    {"exp", 14, kVs | kPs20, true, 1},
    {"log", 15, kVs | kPs20, true, 1},
    {"lit", 16, kVs, true, 1},
    {"dst", 17, kVs, true, 2},
    {"lrp", 18, kVs20 | kPs1x | kPs20, true, 3},
    {"frc", 19, kVs | kPs20, true, 1},
    {"m4x4", 20, kVs | kPs20, true, 2},
    {"m4x3", 21, kVs | kPs20, true, 2},
    {"m3x4", 22, kVs | kPs20, true, 2},
    {"m3x3", 23, kVs | kPs20, true, 2},
    {"m3x2", 24, kVs | kPs20, true, 2},
    {"call", 25, kVs20, false, 1},
    {"callnz", 26, kVs20, false, 2},
    {"loop", 27, kVs20, false, 2},
    {"ret", 28, kVs20, false, 0},
    {"endloop", 29, kVs20, false, 0},
    {"label", 30, kVs20, false, 1},
    {"pow", 32, kVs20 | kPs20, true, 2},
    {"crs", 33, kVs20 | kPs20, true, 2},
    {"abs", 35, kVs20 | kPs20, true, 1},
    {"nrm", 36, kVs20 | kPs20, true, 1},
    {"sincos", 37, kVs20 | kPs20, true, 3},
    {"rep", 38, kVs20, false, 1},
    {"endrep", 39, kVs20, false, 0},
    {"if", 40, kVs20, false, 1},
    {"else", 42, kVs20, false, 0},
    {"endif", 43, kVs20, false, 0},
    {"mova", 46, kVs20, true, 1},
    {"texcoord", 64, kPs1, true, 0},
    {"texcrd", 64, kPs14, true, 1},
    {"texkill", 65, kPs1x | kPs20, true, 0},
    {"tex", 66, kPs1, true, 0},
    {"texld", 66, kPs14, true, 1},
    {"texld", 66, kPs20, true, 2},
    {"texldp", 66, kPs20, true, 2, kTexldProject},
    {"texldb", 66, kPs20, true, 2, kTexldBias},
    {"texbem", 67, kPs1, true, 1},
    {"texbeml", 68, kPs1, true, 1},
    {"texreg2ar", 69, kPs1, true, 1},
    {"texreg2gb", 70, kPs1, true, 1},
    {"texm3x2pad", 71, kPs1, true, 1},
    {"texm3x2tex", 72, kPs1, true, 1},
    {"texm3x3pad", 73, kPs1, true, 1},
    {"texm3x3tex", 74, kPs1, true, 1},
    {"texm3x3spec", 76, kPs1, true, 2},
    {"texm3x3vspec", 77, kPs1, true, 1},
    {"expp", 78, kVs, true, 1},
    {"logp", 79, kVs, true, 1},
    {"cnd", 80, kPs1x, true, 3},
    {"texreg2rgb", 82, kPs12 | kPs13, true, 1},
    {"texdp3tex", 83, kPs12 | kPs13, true, 1},
    {"texm3x2depth", 84, kPs13, true, 1},
    {"texdp3", 85, kPs12 | kPs13, true, 1},
    {"texm3x3", 86, kPs12 | kPs13, true, 1},
    {"texdepth", 87, kPs14, true, 0},
    {"cmp", 88, kPs12Up, true, 3},
    {"bem", 89, kPs14, true, 2},
    {"dp2add", 90, kPs20, true, 3},
    {"phase", 0xFFFD, kPs14, false, 0},
};

// Instruction modifiers written after the name: result modifiers, and the shift of ps_1_x.
struct InstructionModifier {
  const char* name;
  uint32_t resultModifier;
  uint32_t shift;  // four-bit signed power of two
  uint32_t versions;
};
constexpr InstructionModifier kInstructionModifiers[] = {
    {"sat", 1, 0, kPs1x | kPs20}, {"pp", 2, 0, kPs20}, {"centroid", 4, 0, kPs20},
    {"x2", 0, 1, kPs1x},          {"x4", 0, 2, kPs1x}, {"x8", 0, 3, kPs14},
    {"d2", 0, 0xF, kPs1x},        {"d4", 0, 0xE, kPs14}, {"d8", 0, 0xD, kPs14},
};

// Source modifiers written after the register; negation (-) and complement (1-) come before it.
struct SourceSuffix {
  const char* name;
  uint32_t modifier;
  uint32_t negated;  // the modifier with a leading '-'
  uint32_t versions;
};
constexpr SourceSuffix kSourceSuffixes[] = {
    {"bias", kBias, kBiasNegate, kPs1x}, {"bx2", kSign, kSignNegate, kPs1x}, {"x2", kTimes2, kTimes2Negate, kPs14},
    {"dz", kDivideZ, 0, kPs14},          {"db", kDivideZ, 0, kPs14},         {"dw", kDivideW, 0, kPs14},
    {"da", kDivideW, 0, kPs14},
};

constexpr const char* kUsages[] = {"position", "blendweight", "blendindices", "normal", "psize",
                                   "texcoord", "tangent",     "binormal",     "tessfactor", "positiont",
                                   "color",    "fog",         "depth",        "sample"};

struct TextureType {
  const char* name;
  uint32_t code;
};
constexpr TextureType kTextureTypes[] = {{"2d", 2}, {"cube", 3}, {"volume", 4}};

uint32_t registerBits(uint32_t type, uint32_t index) {
  return kParameterBit | ((type & 7) << 28) | ((type & 0x18) << 8) | index;
}

// A whole decimal integer within [low, high], with an optional leading '-'.
bool parseInteger(const std::string& text, long long low, long long high, long long& value) {
  constexpr size_t kMaxDigits = 10;
  const size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
  if (text.size() == start || text.size() - start > kMaxDigits) return false;
  long long magnitude = 0;
  for (size_t i = start; i < text.size(); ++i) {
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
    magnitude = magnitude * 10 + (text[i] - '0');
  }
  value = start ? -magnitude : magnitude;
  return value >= low && value <= high;
}

// The components named by x, y, z, w or r, g, b, a.
int componentIndex(char c) {
  static constexpr char kXyzw[] = "xyzw";
  static constexpr char kRgba[] = "rgba";
  for (int i = 0; i < 4; ++i) {
    if (c == kXyzw[i] || c == kRgba[i]) return i;
  }
  return -1;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t at = text.find(separator); at != std::string::npos; at = text.find(separator, start)) {
    parts.push_back(text.substr(start, at - start));
    start = at + 1;
  }
  parts.push_back(text.substr(start));
  return parts;
}

// The usage of a vertex shader declaration (texcoord, texcoord1, ...) into the declaration token.
bool parseUsage(const std::string& text, uint32_t& info) {
  for (uint32_t code = 0; code < std::size(kUsages); ++code) {
    const size_t length = std::strlen(kUsages[code]);
    long long index = 0;
    if (text.compare(0, length, kUsages[code]) != 0) continue;
    if (text.size() == length || parseInteger(text.substr(length), 0, kMaxUsageIndex, index)) {
      info |= code | static_cast<uint32_t>(index) << kUsageIndexShift;
      return true;
    }
  }
  return false;
}

std::string withoutSpaces(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (!std::isspace(static_cast<unsigned char>(c))) out += c;
  }
  return out;
}

std::string trim(const std::string& text) {
  constexpr const char* kBlanks = " \t\r\f\v";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// A line in lower case, without its comment and surrounding blanks.
std::string cleanLine(const std::string& line) {
  std::string out = line.substr(0, std::min(line.find("//"), line.find(';')));
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return trim(out);
}

struct Register {
  uint32_t type = 0;
  uint32_t index = 0;
  const RegisterKind* kind = nullptr;
};

// Assembles the lines after the version line into tokens, one line at a time.
class LineAssembler {
 public:
  LineAssembler(int versionSlot, std::vector<uint32_t>& tokens)
      : version_(kVersions[versionSlot]), slot_(versionSlot), tokens_(tokens) {}

  // False with reason() set when the line is not an instruction this version takes.
  bool assemble(const std::string& line);
  const std::string& reason() const { return reason_; }

 private:
  bool fail(std::string why) {
    reason_ = std::move(why);
    return false;
  }
  bool allowed(uint32_t versions) const { return (versions & version_.bit) != 0; }
  bool major2() const { return allowed(kVs20 | kPs20); }

  bool instruction(const std::vector<std::string>& parts, const std::vector<std::string>& operands, bool coIssue);
  bool declaration(const std::vector<std::string>& parts, const std::vector<std::string>& operands);
  bool definition(const std::string& mnemonic, const std::vector<std::string>& operands);

  bool registerName(const std::string& text, size_t& at, Register& reg);
  bool destination(const std::string& text, uint32_t modifiers, Register& reg);
  bool source(const std::string& text);
  bool relative(const std::string& inside, Register& reg, uint32_t& addressSwizzle);
  bool swizzle(const std::string& text, uint32_t& value);

  // Starts an instruction; finish() writes its length once the operands are out.
  void begin(uint32_t token) {
    start_ = tokens_.size();
    tokens_.push_back(token);
  }
  void finish() {
    if (major2()) tokens_[start_] |= static_cast<uint32_t>(tokens_.size() - start_ - 1) << kLengthShift;
  }

  const Version& version_;
  const int slot_;
  std::vector<uint32_t>& tokens_;
  size_t start_ = 0;
  std::string reason_;
};

bool LineAssembler::assemble(const std::string& line) {
  std::string text = line;
  const bool coIssue = text[0] == '+';
  if (coIssue) {
    if (!allowed(kPs1x)) return fail(std::string("co-issue is not available in ") + version_.name);
    text = trim(text.substr(1));
    if (text.empty()) return fail("co-issue without an instruction");
  }
  const size_t nameEnd = std::min(text.find_first_of(" \t"), text.size());
  const std::string mnemonic = text.substr(0, nameEnd);
  std::vector<std::string> operands;
  const std::string rest = withoutSpaces(text.substr(nameEnd));
  if (!rest.empty()) operands = split(rest, ',');
  for (const std::string& operand : operands) {
    if (operand.empty()) return fail("missing operand");
  }

  const std::vector<std::string> parts = split(mnemonic, '_');
  if (parts[0] == "dcl") return declaration(parts, operands);
  if (parts[0] == "def" || parts[0] == "defi" || parts[0] == "defb") {
    return parts.size() == 1 ? definition(mnemonic, operands) : fail("'" + parts[0] + "' takes no modifiers");
  }
  return instruction(parts, operands, coIssue);
}

bool LineAssembler::instruction(const std::vector<std::string>& parts, const std::vector<std::string>& operands,
                                bool coIssue) {
  const Instruction* found = nullptr;
  bool known = false;
  for (const Instruction& candidate : kInstructions) {
    if (parts[0] != candidate.name) continue;
    known = true;
    if (allowed(candidate.versions)) found = &candidate;
  }
  if (!known) return fail("unknown instruction '" + parts[0] + "'");
  if (!found) return fail("'" + parts[0] + "' is not available in " + version_.name);

  uint32_t modifiers = 0;
  for (size_t i = 1; i < parts.size(); ++i) {
    const InstructionModifier* modifier = nullptr;
    for (const InstructionModifier& candidate : kInstructionModifiers) {
      if (parts[i] == candidate.name && allowed(candidate.versions)) modifier = &candidate;
    }
    if (!modifier || !found->destination) return fail("modifier '_" + parts[i] + "' not allowed here");
    modifiers |= (modifier->resultModifier << kResultModifierShift) | (modifier->shift << kShiftScaleShift);
  }

  const size_t expected = (found->destination ? 1 : 0) + found->sources;
  if (operands.size() != expected) {
    return fail("'" + parts[0] + "' takes " + std::to_string(expected) + " operands, not " +
                std::to_string(operands.size()));
  }
  begin(found->opcode | found->controls | (coIssue ? kCoIssueBit : 0));
  size_t next = 0;
  if (found->destination) {
    Register reg;
    if (!destination(operands[next++], modifiers, reg)) return false;
    // texkill names the register it tests in the destination slot.
    if (found->opcode != kTexKill && !(reg.kind->writableIn & version_.bit)) {
      return fail("register in '" + operands[0] + "' cannot be written");
    }
  }
  while (next < operands.size()) {
    if (!source(operands[next++])) return false;
  }
  finish();
  return true;
}

bool LineAssembler::declaration(const std::vector<std::string>& parts, const std::vector<std::string>& operands) {
  if (!allowed(kVs | kPs20)) return fail(std::string("'dcl' is not available in ") + version_.name);
  if (operands.size() != 1) return fail("'dcl' takes 1 operand");
  uint32_t info = kParameterBit;
  uint32_t modifiers = 0;
  bool usage = false;
  bool texture = false;
  for (size_t i = 1; i < parts.size(); ++i) {
    const std::string& part = parts[i];
    bool matched = false;
    for (const TextureType& type : kTextureTypes) {
      if (part == type.name && allowed(kPs20) && !texture) {
        info |= type.code << kTextureTypeShift;
        matched = texture = true;
      }
    }
    for (const InstructionModifier& modifier : kInstructionModifiers) {
      if (part == modifier.name && modifier.resultModifier && allowed(modifier.versions)) {
        modifiers |= modifier.resultModifier << kResultModifierShift;
        matched = true;
      }
    }
    if (!matched && allowed(kVs) && !usage) matched = usage = parseUsage(part, info);
    if (!matched) return fail("unknown declaration 'dcl_" + part + "'");
  }
  if (allowed(kVs) && !usage) return fail("'dcl' in a vertex shader needs a usage");

  begin(kDcl);
  tokens_.push_back(info);
  Register reg;
  if (!destination(operands[0], modifiers, reg)) return false;
  const bool sampler = reg.type == kSampler;
  const bool input = reg.type == kInput || (allowed(kPs20) && reg.type == kTexture);
  if (sampler != texture || !(sampler || input)) return fail("'" + operands[0] + "' cannot be declared so");
  finish();
  return true;
}

bool LineAssembler::definition(const std::string& mnemonic, const std::vector<std::string>& operands) {
  const bool floats = mnemonic == "def";
  const bool booleans = mnemonic == "defb";
  if (!floats && !allowed(kVs20)) return fail("'" + mnemonic + "' is not available in " + version_.name);
  const size_t values = booleans ? 1 : 4;
  if (operands.size() != values + 1) {
    return fail("'" + mnemonic + "' takes " + std::to_string(values + 1) + " operands, not " +
                std::to_string(operands.size()));
  }
  begin(floats ? kDef : booleans ? kDefB : kDefI);
  Register reg;
  if (!destination(operands[0], 0, reg)) return false;
  if (reg.type != (floats ? kConst : booleans ? kConstBool : kConstInt)) {
    return fail("'" + mnemonic + "' cannot define '" + operands[0] + "'");
  }
  for (size_t i = 1; i < operands.size(); ++i) {
    const std::string& text = operands[i];
    uint32_t bits = 0;
    if (floats) {
      char* end = nullptr;
      const float value = std::strtof(text.c_str(), &end);
      if (end != text.c_str() + text.size() || !std::isfinite(value)) return fail("bad number '" + text + "'");
      std::memcpy(&bits, &value, sizeof bits);
    } else if (booleans) {
      if (text != "true" && text != "false") return fail("bad boolean '" + text + "'");
      bits = text == "true" ? 1 : 0;
    } else {
      long long value = 0;
      if (!parseInteger(text, INT32_MIN, INT32_MAX, value)) return fail("bad integer '" + text + "'");
      bits = static_cast<uint32_t>(value);
    }
    tokens_.push_back(bits);
  }
  finish();
  return true;
}

// The register at text[at], letters then digits; `at` moves past it.
bool LineAssembler::registerName(const std::string& text, size_t& at, Register& reg) {
  const size_t nameStart = at;
  while (at < text.size() && std::isalpha(static_cast<unsigned char>(text[at]))) ++at;
  const size_t digitStart = at;
  while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at]))) ++at;
  const std::string name = text.substr(nameStart, digitStart - nameStart);
  const std::string digits = text.substr(digitStart, at - digitStart);
  const bool bracket = at < text.size() && text[at] == '[';
  for (const RegisterKind& kind : kRegisters) {
    if (name != kind.name || (kind.numbered ? digits.empty() && !bracket : !digits.empty())) continue;
    long long index = kind.fixedIndex;
    const uint16_t count = kind.count[slot_];
    if (!count) return fail("register '" + name + digits + "' is not available in " + version_.name);
    if (!digits.empty() && !parseInteger(digits, 0, count - 1, index)) {
      return fail("register " + name + digits + " out of range");
    }
    reg.type = kind.type;
    reg.index = static_cast<uint32_t>(index);
    reg.kind = &kind;
    return true;
  }
  return fail("bad register in '" + text + "'");
}

bool LineAssembler::destination(const std::string& text, uint32_t modifiers, Register& reg) {
  size_t at = 0;
  if (!registerName(text, at, reg)) return false;
  uint32_t mask = kFullMask;
  if (at < text.size()) {
    if (text[at] != '.' || at + 1 == text.size()) return fail("bad destination '" + text + "'");
    mask = 0;
    int previous = -1;
    for (size_t i = at + 1; i < text.size(); ++i) {
      const int component = componentIndex(text[i]);
      if (component <= previous) return fail("bad write mask in '" + text + "'");
      mask |= 1u << component;
      previous = component;
    }
  }
  tokens_.push_back(registerBits(reg.type, reg.index) | (mask << kMaskShift) | modifiers);
  return true;
}

bool LineAssembler::swizzle(const std::string& text, uint32_t& value) {
  if (text.empty() || text.size() > 4) return false;
  value = 0;
  for (size_t i = 0; i < 4; ++i) {
    const int component = componentIndex(text[std::min(i, text.size() - 1)]);
    if (component < 0) return false;
    value |= static_cast<uint32_t>(component) << (2 * i);
  }
  return true;
}

// The inside of c[...]: a0.x, a0.x + n or n + a0.x (any a0 component from 2.0).
bool LineAssembler::relative(const std::string& inside, Register& reg, uint32_t& addressSwizzle) {
  if (!allowed(kVs) || reg.type != kConst) return fail("relative addressing not allowed here");
  const std::vector<std::string> terms = split(inside, '+');
  if (terms.size() > 2) return fail("bad relative address '" + inside + "'");
  bool address = false;
  long long offset = 0;
  for (const std::string& term : terms) {
    const bool isAddress = term.size() == 4 && term.compare(0, 3, "a0.") == 0 && componentIndex(term[3]) >= 0;
    if (isAddress && !address && (major2() || term[3] == 'x')) {
      address = swizzle(term.substr(3), addressSwizzle);
    } else if (!parseInteger(term, 0, reg.kind->count[slot_] - 1, offset)) {
      return fail("bad relative address '" + inside + "'");
    }
  }
  if (!address || reg.index + offset >= reg.kind->count[slot_]) return fail("bad relative address '" + inside + "'");
  reg.index += static_cast<uint32_t>(offset);
  return true;
}

bool LineAssembler::source(const std::string& operand) {
  std::string text = operand;
  uint32_t modifier = 0;
  const bool negate = text[0] == '-';
  if (negate) {
    text.erase(0, 1);
    modifier = kNegate;
  } else if (text.compare(0, 2, "1-") == 0 && allowed(kPs1x)) {
    text.erase(0, 2);
    modifier = kComplement;
  }
  size_t at = 0;
  Register reg;
  if (!registerName(text, at, reg)) return false;

  bool isRelative = false;
  uint32_t addressSwizzle = 0;
  if (at < text.size() && text[at] == '[') {
    const size_t close = text.find(']', at);
    if (close == std::string::npos) return fail("bad operand '" + operand + "'");
    if (!relative(text.substr(at + 1, close - at - 1), reg, addressSwizzle)) return false;
    isRelative = true;
    at = close + 1;
  }

  uint32_t swizzleValue = kIdentitySwizzle;
  bool swizzled = false;
  bool suffixed = false;
  while (at < text.size()) {
    const char lead = text[at];
    size_t end = at + 1;
    while (end < text.size() && text[end] != '.' && text[end] != '_') ++end;
    const std::string word = text.substr(at + 1, end - at - 1);
    at = end;
    if (lead == '.' && !swizzled && swizzle(word, swizzleValue)) {
      swizzled = true;
      continue;
    }
    const SourceSuffix* suffix = nullptr;
    for (const SourceSuffix& candidate : kSourceSuffixes) {
      if (lead == '_' && word == candidate.name && allowed(candidate.versions)) suffix = &candidate;
    }
    if (!suffix || suffixed || modifier == kComplement || (negate && !suffix->negated)) {
      return fail("bad operand '" + operand + "'");
    }
    modifier = negate ? suffix->negated : suffix->modifier;
    suffixed = true;
  }

  tokens_.push_back(registerBits(reg.type, reg.index) | (swizzleValue << kSwizzleShift) |
                    (modifier << kSourceModifierShift) | (isRelative ? kRelativeBit : 0));
  // From 2.0 the address register follows as a token of its own; 1.x implies a0.x.
  if (isRelative && major2()) tokens_.push_back(registerBits(kAddress, 0) | (addressSwizzle << kSwizzleShift));
  return true;
}

}  // namespace

bool assembleShader(const std::string& text, std::vector<uint32_t>& tokens, std::string& error, int firstLine) {
  tokens.clear();
  error.clear();
  std::optional<LineAssembler> assembler;
  int lineNumber = firstLine;
  for (const std::string& raw : split(text, '\n')) {
    const int number = lineNumber++;
    const std::string line = cleanLine(raw);
    if (line.empty()) continue;
    std::string reason;
    if (!assembler) {
      std::string name = line;
      for (char& c : name) c = c == '.' ? '_' : c;
      for (int slot = 0; slot < kVersionCount && !assembler; ++slot) {
        if (name == kVersions[slot].name) {
          tokens.push_back(kVersions[slot].token);
          assembler.emplace(slot, tokens);
        }
      }
      if (assembler) continue;
      reason = "expected a shader version, not '" + line + "'";
    } else if (!assembler->assemble(line)) {
      reason = assembler->reason();
    }
    if (!reason.empty()) {
      error = "line " + std::to_string(number) + ": " + reason;
      tokens.clear();
      return false;
    }
  }
  if (!assembler) {
    error = "line " + std::to_string(firstLine) + ": no shader version";
    return false;
  }
  tokens.push_back(kEndToken);
  return true;
}

bool readConstantTable(const uint32_t* tokens, size_t count, std::vector<ShaderConstant>& constants) {
  constexpr uint32_t kCtab = 0x42415443;  // "CTAB" read as a little-endian word
  constexpr size_t kHeaderBytes = 28;     // Size, Creator, Version, Constants, ConstantInfo, Flags, Target
  constexpr size_t kInfoBytes = 20;       // Name, RegisterSet, RegisterIndex, RegisterCount, Reserved, TypeInfo, DefaultValue
  constants.clear();
  // Comments come straight after the version token; the constant table is one of them.
  for (size_t at = 1; at < count && (tokens[at] & 0xFFFF) == kCommentOpcode;) {
    const size_t words = (tokens[at] >> 16) & 0x7FFF;
    if (words > count - at - 1) return false;
    if (words == 0 || tokens[at + 1] != kCtab) {
      at += 1 + words;
      continue;
    }
    const auto* table = reinterpret_cast<const uint8_t*>(tokens + at + 2);
    const size_t size = (words - 1) * sizeof(uint32_t);
    const auto word = [&](size_t offset) {
      uint32_t value = 0;
      std::memcpy(&value, table + offset, sizeof value);
      return value;
    };
    const auto half = [&](size_t offset) {
      uint16_t value = 0;
      std::memcpy(&value, table + offset, sizeof value);
      return value;
    };
    if (size < kHeaderBytes) return false;
    const size_t entries = word(12);
    const size_t info = word(16);
    if (info > size || entries > (size - info) / kInfoBytes) return false;
    for (size_t i = 0; i < entries; ++i) {
      const size_t entry = info + i * kInfoBytes;
      const size_t name = word(entry);
      if (name >= size) return false;
      const auto* text = reinterpret_cast<const char*>(table + name);
      const size_t length = static_cast<size_t>(std::find(text, text + (size - name), '\0') - text);
      if (length == size - name) return false;
      constants.push_back({std::string(text, length), half(entry + 4), half(entry + 6), half(entry + 8)});
    }
    return true;
  }
  return false;
}

}  // namespace fx
