#include "gfxhelper/effect_source.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>
#include <string_view>
#include <utility>

namespace fx {
namespace {

// Effect files are kilobytes; the cap bounds the memory that all the lists below can take.
constexpr size_t kMaxTextBytes = 1 << 20;
// Bounds every count and index a file can give: parameters, passes, states, annotations,
// the numbers of one value, array sizes, register and state indices.
constexpr uint32_t kMaxItems = 4096;
// Braces within one initialiser, the only recursion of the parser.
constexpr int kMaxNesting = 16;
constexpr uint32_t kMaxMatrixSide = 4;

struct ParseError {
  int line;
  std::string reason;
};

struct Token {
  enum Kind { End, Identifier, Number, String, Punctuation };
  Kind kind = End;
  std::string text;  // a string's text is without its quotes
  float number = 0;
  bool integral = false;  // decimal or hexadecimal digits only
  size_t offset = 0, end = 0;
  int line = 1;
};

bool isIdentifierStart(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isIdentifierChar(char c) { return isIdentifierStart(c) || isDigit(c); }
bool isHexDigit(char c) { return isDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

// Effect keywords and type names compare without regard to case, as effect files write them both ways.
bool sameWord(const std::string& text, const char* word) {
  size_t i = 0;
  for (; i < text.size() && word[i]; ++i) {
    if (lower(text[i]) != word[i]) return false;
  }
  return i == text.size() && !word[i];
}

// Splits text into tokens on demand, so that an asm block's body can be taken as it stands.
class Lexer {
 public:
  explicit Lexer(const std::string& text) : text_(text) {}

  Token next() {
    skipSpaceAndComments();
    Token token;
    token.offset = pos_;
    token.line = line_;
    if (pos_ < text_.size()) {
      const char c = text_[pos_];
      if (isIdentifierStart(c)) {
        token.kind = Token::Identifier;
        while (pos_ < text_.size() && isIdentifierChar(text_[pos_])) ++pos_;
        token.text = text_.substr(token.offset, pos_ - token.offset);
      } else if (isDigit(c) || (c == '.' && pos_ + 1 < text_.size() && isDigit(text_[pos_ + 1]))) {
        number(token);
      } else if (c == '"') {
        const size_t close = text_.find_first_of("\"\n", pos_ + 1);
        if (close == std::string::npos || text_[close] != '"') fail("string is not closed");
        token.kind = Token::String;
        token.text = text_.substr(pos_ + 1, close - pos_ - 1);
        pos_ = close + 1;
      } else if (c == '#') {
        fail("preprocessor directives are not supported");
      } else if (c > ' ' && c < 127) {
        token.kind = Token::Punctuation;
        token.text = c;
        ++pos_;
      } else {
        fail("unexpected character");
      }
    }
    token.end = pos_;
    return token;
  }

  // The text up to the next '}' outside comments, which it passes; `line` is the line it begins on.
  std::string rawBlock(int& line) {
    line = line_;
    const size_t start = pos_;
    while (pos_ < text_.size()) {
      if (text_[pos_] == '}') return text_.substr(start, pos_++ - start);
      if (text_[pos_] == ';') {
        skipLine();
      } else if (!skipComment()) {
        if (text_[pos_] == '\n') ++line_;
        ++pos_;
      }
    }
    throw ParseError{line, "asm block is not closed"};
  }

 private:
  [[noreturn]] void fail(const char* reason) const { throw ParseError{line_, reason}; }

  void skipLine() {
    while (pos_ < text_.size() && text_[pos_] != '\n') ++pos_;
  }

  bool skipComment() {
    if (text_.compare(pos_, 2, "//") == 0) {
      skipLine();
      return true;
    }
    if (text_.compare(pos_, 2, "/*") != 0) return false;
    const size_t close = text_.find("*/", pos_ + 2);
    if (close == std::string::npos) fail("comment is not closed");
    for (; pos_ < close + 2; ++pos_) line_ += text_[pos_] == '\n';
    return true;
  }

  void skipSpaceAndComments() {
    while (pos_ < text_.size()) {
      const char c = text_[pos_];
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f') {
        line_ += c == '\n';
        ++pos_;
      } else if (!skipComment()) {
        return;
      }
    }
  }

  // 12, 0x1F, 1.5, .5, 1., 1e3, 2.5e-1f; a suffix f, h, l or u is allowed and ignored.
  void number(Token& token) {
    token.kind = Token::Number;
    const size_t start = pos_;
    const bool hex = text_.compare(pos_, 2, "0x") == 0 || text_.compare(pos_, 2, "0X") == 0;
    token.integral = true;
    if (hex) {
      pos_ += 2;
      while (pos_ < text_.size() && isHexDigit(text_[pos_])) ++pos_;
      if (pos_ == start + 2) fail("malformed number");
    } else {
      skipDigits();
      if (pos_ < text_.size() && text_[pos_] == '.') {
        token.integral = false;
        ++pos_;
        skipDigits();
      }
      if (pos_ < text_.size() && lower(text_[pos_]) == 'e') {
        token.integral = false;
        ++pos_;
        if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-')) ++pos_;
        if (pos_ >= text_.size() || !isDigit(text_[pos_])) fail("malformed number");
        skipDigits();
      }
    }
    const char* first = text_.data() + start + (hex ? 2 : 0);
    const char* last = text_.data() + pos_;
    if (pos_ < text_.size() && std::string_view("fFhHlLuU").find(text_[pos_]) != std::string_view::npos) ++pos_;
    if (pos_ < text_.size() && isIdentifierChar(text_[pos_])) fail("malformed number");
    token.text = text_.substr(start, pos_ - start);
    if (token.integral) {
      uint32_t value = 0;
      if (std::from_chars(first, last, value, hex ? 16 : 10).ec != std::errc()) fail("number out of range");
      token.number = static_cast<float>(value);
    } else if (std::from_chars(first, last, token.number).ec != std::errc()) {
      fail("number out of range");
    }
  }

  void skipDigits() {
    while (pos_ < text_.size() && isDigit(text_[pos_])) ++pos_;
  }

  const std::string& text_;
  size_t pos_ = 0;
  int line_ = 1;
};

// float, int3, half4x4, bool2, matrix, vector, texture2D, samplerCUBE, string: false when not one.
bool builtinType(const std::string& name, Parameter& parameter) {
  static const std::pair<const char*, BaseType> kPrefixes[] = {
      {"float", BaseType::Float}, {"half", BaseType::Float}, {"double", BaseType::Float}, {"int", BaseType::Int},
      {"uint", BaseType::Int},    {"dword", BaseType::Int},  {"bool", BaseType::Bool}};
  static const std::pair<const char*, BaseType> kNames[] = {
      {"string", BaseType::String},    {"texture", BaseType::Texture},     {"texture1d", BaseType::Texture},
      {"texture2d", BaseType::Texture}, {"texture3d", BaseType::Texture},  {"texturecube", BaseType::Texture},
      {"sampler", BaseType::Sampler},  {"sampler1d", BaseType::Sampler},   {"sampler2d", BaseType::Sampler},
      {"sampler3d", BaseType::Sampler}, {"samplercube", BaseType::Sampler}};
  for (const auto& [word, type] : kNames) {
    if (sameWord(name, word)) {
      parameter.type = type;
      return true;
    }
  }
  if (sameWord(name, "matrix") || sameWord(name, "vector")) {
    parameter.type = BaseType::Float;
    parameter.rows = sameWord(name, "matrix") ? kMaxMatrixSide : 1;
    parameter.columns = kMaxMatrixSide;
    return true;
  }
  const auto side = [](char c) { return c >= '1' && c <= '0' + static_cast<int>(kMaxMatrixSide); };
  for (const auto& [word, type] : kPrefixes) {
    const size_t length = std::strlen(word);
    if (name.size() < length || !sameWord(name.substr(0, length), word)) continue;
    const std::string shape = name.substr(length);
    if (shape.size() == 1 && side(shape[0])) {
      parameter.columns = static_cast<uint32_t>(shape[0] - '0');
    } else if (shape.size() == 3 && side(shape[0]) && lower(shape[1]) == 'x' && side(shape[2])) {
      parameter.rows = static_cast<uint32_t>(shape[0] - '0');
      parameter.columns = static_cast<uint32_t>(shape[2] - '0');
    } else if (!shape.empty()) {
      continue;
    }
    parameter.type = type;
    return true;
  }
  return false;
}

bool numericType(BaseType type) { return type == BaseType::Float || type == BaseType::Int || type == BaseType::Bool; }

// Recursive descent over the tokens with one token of look-ahead; failures throw ParseError.
class Parser {
 public:
  explicit Parser(const std::string& text) : lexer_(text) { advance(); }

  // Fills everything but `hlsl`; gives the byte ranges that `hlsl` leaves out.
  std::vector<std::pair<size_t, size_t>> parse(EffectSource& effect) {
    while (token_.kind != Token::End) {
      if (accept(';')) continue;
      if (isKeyword("technique")) {
        const size_t start = token_.offset;
        effect.techniques.push_back(technique());
        limit(effect.techniques.size(), "techniques");
        effectOnly_.emplace_back(start, consumedEnd_);
      } else if (isKeyword("struct")) {
        structure();
      } else {
        declaration(effect.parameters);
      }
    }
    return std::move(effectOnly_);
  }

 private:
  [[noreturn]] void fail(const std::string& reason) const { throw ParseError{token_.line, reason}; }

  void advance() {
    consumedEnd_ = token_.end;
    token_ = lexer_.next();
  }

  bool is(char c) const { return token_.kind == Token::Punctuation && token_.text[0] == c; }
  bool isKeyword(const char* word) const { return token_.kind == Token::Identifier && sameWord(token_.text, word); }
  bool isBoolean() const { return isKeyword("true") || isKeyword("false"); }
  bool isConstructor() const {
    Parameter shape;
    return token_.kind == Token::Identifier && builtinType(token_.text, shape) && numericType(shape.type);
  }

  bool accept(char c) {
    if (!is(c)) return false;
    advance();
    return true;
  }

  void expect(char c) {
    if (!accept(c)) fail(std::string("expected '") + c + "'");
  }

  std::string name(const char* what) {
    if (token_.kind != Token::Identifier) fail(std::string("expected ") + what);
    std::string text = std::move(token_.text);
    advance();
    return text;
  }

  uint32_t index(const char* what) {
    if (token_.kind != Token::Number || !token_.integral || token_.number >= kMaxItems) {
      fail(std::string(what) + " out of range");
    }
    const auto value = static_cast<uint32_t>(token_.number);
    advance();
    return value;
  }

  void limit(size_t count, const char* what) const {
    if (count > kMaxItems) fail(std::string("too many ") + what);
  }

  // Passes over a bracketed group, whatever it holds; an unclosed one is reported where it opens.
  void skipGroup(char open, char close) {
    const int line = token_.line;
    int depth = 0;
    do {
      if (token_.kind == Token::End) throw ParseError{line, std::string("'") + open + "' is not closed"};
      depth += is(open) ? 1 : is(close) ? -1 : 0;
      advance();
    } while (depth > 0);
  }

  // Structures and functions stay in the HLSL text for the compiler; only their names matter here.
  void structure() {
    advance();
    structures_.insert(name("a structure name"));
    if (!is('{')) fail("expected '{'");
    skipGroup('{', '}');
    expect(';');
  }

  // A declaration ends at its ';', a definition with its body.
  void function() {
    skipGroup('(', ')');
    while (!is('{')) {
      if (accept(';')) return;
      if (token_.kind == Token::End || is('}')) fail("expected a function body");
      advance();
    }
    skipGroup('{', '}');
  }

  void skipStatement() {
    while (!accept(';')) {
      if (token_.kind == Token::End || is('}')) fail("expected ';'");
      if (is('{')) {
        skipGroup('{', '}');
      } else {
        advance();
      }
    }
  }

  void declaration(std::vector<Parameter>& parameters) {
    bool global = false;  // static: the shaders' own, not a parameter
    while (isKeyword("uniform") || isKeyword("const") || isKeyword("shared") || isKeyword("extern") ||
           isKeyword("static")) {
      global = global || isKeyword("static");
      advance();
    }
    if (token_.kind != Token::Identifier) fail("expected a declaration");
    Parameter parameter;
    parameter.typeName = token_.text;
    const bool known = structures_.count(token_.text) || builtinType(token_.text, parameter);
    if (!known && !isKeyword("void")) fail("unknown type '" + token_.text + "'");
    advance();
    int line = token_.line;
    std::string variableName = name("a name");
    if (is('(')) return function();
    if (!known) fail("only a function is void");
    if (global) return skipStatement();
    for (;;) {
      parameters.push_back(parameter);
      variable(parameters.back(), std::move(variableName), line);
      limit(parameters.size(), "parameters");
      if (!accept(',')) break;
      line = token_.line;
      variableName = name("a name");
    }
    expect(';');
  }

  // Name[size] : semantic : register(...) <annotations> = initialiser : register(...)
  void variable(Parameter& parameter, std::string variableName, int line) {
    parameter.name = std::move(variableName);
    parameter.line = line;
    if (accept('[')) {
      parameter.elements = index("array size");
      if (parameter.elements == 0) fail("array size out of range");
      expect(']');
    }
    bindings(parameter);
    // Annotations and initial values are the effect's business: the compiler doesn't see them.
    const size_t start = token_.offset;
    if (is('<')) annotations(parameter.annotations);
    if (accept('=')) initialiser(parameter);
    if (consumedEnd_ > start) effectOnly_.emplace_back(start, consumedEnd_);
    bindings(parameter);
  }

  void bindings(Parameter& parameter) {
    while (accept(':')) {
      if (isKeyword("register")) {
        registerBinding(parameter);
      } else if (parameter.semantic.empty()) {
        parameter.semantic = name("a semantic");
      } else {
        fail("a second semantic");
      }
    }
  }

  // register(c4), register(vs, c4), register(ps_2_0, s1)
  void registerBinding(Parameter& parameter) {
    if (parameter.registerKind) fail("a second register binding");
    advance();
    expect('(');
    std::string binding = name("a register");
    if (accept(',')) {
      const bool stage = binding.size() == 2 || (binding.size() > 2 && binding[2] == '_');
      if (stage && sameWord(binding.substr(0, 2), "vs")) {
        parameter.registerShader = 'v';
      } else if (stage && sameWord(binding.substr(0, 2), "ps")) {
        parameter.registerShader = 'p';
      } else {
        fail("unknown shader '" + binding + "'");
      }
      binding = name("a register");
    }
    const char kind = lower(binding[0]);
    uint32_t number = 0;
    const char* last = binding.data() + binding.size();
    const auto [end, error] = std::from_chars(binding.data() + 1, last, number);
    if (std::string_view("cbis").find(kind) == std::string_view::npos || end != last || error != std::errc() ||
        number >= kMaxItems) {
      fail("unknown register '" + binding + "'");
    }
    parameter.registerKind = kind;
    parameter.registerIndex = static_cast<int>(number);
    expect(')');
  }

  void initialiser(Parameter& parameter) {
    switch (parameter.type) {
      case BaseType::Sampler:
        if (!isKeyword("sampler_state")) fail("expected sampler_state");
        advance();
        return states(parameter.samplerStates);
      case BaseType::Texture:
        return fail("a texture has no initialiser");
      case BaseType::String:
        // The string itself is not kept: nothing reads a string parameter's value.
        if (token_.kind != Token::String) fail("expected a string");
        return advance();
      default:
        break;
    }
    numbers(parameter.defaults, 0);
    const size_t count = size_t{parameter.rows} * parameter.columns * std::max(parameter.elements, 1u);
    if (numericType(parameter.type) && parameter.defaults.size() != 1 && parameter.defaults.size() != count) {
      fail(std::to_string(parameter.defaults.size()) + " numbers for " + std::to_string(count) + " in '" +
           parameter.name + "'");
    }
  }

  // 1, -2.5, true, float4(1, 2, 3, 4), {1, 2}, {float2(1, 2), float2(3, 4)}: appended flat.
  void numbers(std::vector<float>& out, int depth) {
    if (depth > kMaxNesting) fail("values nested too deeply");
    if (isConstructor()) {
      advance();
      if (!is('(')) fail("expected '('");
      return list(out, depth, ')');
    }
    if (is('{')) return list(out, depth, '}');
    if (isBoolean()) {
      out.push_back(isKeyword("true") ? 1.0f : 0.0f);
    } else {
      const bool negative = accept('-');
      if (token_.kind != Token::Number) fail("expected a value");
      out.push_back(negative ? -token_.number : token_.number);
    }
    limit(out.size(), "numbers");
    advance();
  }

  void list(std::vector<float>& out, int depth, char close) {
    advance();
    while (!accept(close)) {
      numbers(out, depth + 1);
      if (!accept(',')) {
        expect(close);
        return;
      }
    }
  }

  // < string Name = "text"; float Scale = 2; ... >
  void annotations(std::vector<Annotation>& out) {
    advance();
    while (!accept('>')) {
      Annotation annotation;
      annotation.typeName = name("an annotation type");
      annotation.name = name("an annotation name");
      expect('=');
      if (token_.kind == Token::String) {
        annotation.value.kind = Value::String;
        annotation.value.text = std::move(token_.text);
        advance();
      } else {
        numbers(annotation.value.numbers, 0);
      }
      expect(';');
      out.push_back(std::move(annotation));
      limit(out.size(), "annotations");
    }
  }

  // { Name = value; Name[index] = value; ... }
  void states(std::vector<StateAssignment>& out) {
    expect('{');
    while (!accept('}')) {
      StateAssignment state;
      state.line = token_.line;
      state.name = name("a state name");
      if (accept('[')) {
        state.index = static_cast<int>(index("state index"));
        expect(']');
      }
      expect('=');
      state.value = value();
      expect(';');
      out.push_back(std::move(state));
      limit(out.size(), "states");
    }
  }

  Value value() {
    Value result;
    if (isKeyword("asm")) {
      advance();
      if (!is('{')) fail("expected '{'");
      result.kind = Value::Assembly;
      result.text = lexer_.rawBlock(result.line);
      advance();
    } else if (isKeyword("compile")) {
      advance();
      result.kind = Value::Compile;
      result.profile = name("a shader profile");
      result.text = name("a function name");
      expect('(');
      if (!accept(')')) fail("arguments to compiled functions are not supported");
    } else if (isKeyword("null")) {
      result.kind = Value::Null;
      advance();
    } else if (is('<') || is('(')) {
      const char close = is('<') ? '>' : ')';
      advance();
      result.kind = Value::Reference;
      result.text = name("a parameter name");
      expect(close);
    } else if (token_.kind == Token::String) {
      result.kind = Value::String;
      result.text = std::move(token_.text);
      advance();
    } else if (token_.kind == Token::Identifier && !isBoolean() && !isConstructor()) {
      result.kind = Value::Identifiers;
      do {
        result.identifiers.push_back(name("a name"));
        limit(result.identifiers.size(), "names");
      } while (accept('|'));
    } else {
      numbers(result.numbers, 0);
    }
    return result;
  }

  Technique technique() {
    advance();
    Technique result;
    if (token_.kind == Token::Identifier) result.name = name("a technique name");
    if (is('<')) annotations(result.annotations);
    expect('{');
    while (!accept('}')) {
      if (!isKeyword("pass")) fail("expected a pass");
      advance();
      Pass pass;
      if (token_.kind == Token::Identifier) pass.name = name("a pass name");
      if (is('<')) annotations(pass.annotations);
      states(pass.states);
      result.passes.push_back(std::move(pass));
      limit(result.passes.size(), "passes");
    }
    accept(';');
    return result;
  }

  Lexer lexer_;
  Token token_;
  size_t consumedEnd_ = 0;  // where the last token taken ends
  std::vector<std::pair<size_t, size_t>> effectOnly_;  // techniques, parameters' annotations and values
  std::set<std::string> structures_;
};

}  // namespace

bool parseEffect(const std::string& text, EffectSource& effect, std::string& error) {
  effect = EffectSource();
  try {
    if (text.size() > kMaxTextBytes) throw ParseError{1, "file too large"};
    const auto effectOnly = Parser(text).parse(effect);
    effect.hlsl = text;
    for (const auto& [start, end] : effectOnly) {
      for (size_t i = start; i < end; ++i) {
        if (text[i] != '\n' && text[i] != '\r') effect.hlsl[i] = ' ';
      }
    }
  } catch (const ParseError& failure) {
    effect = EffectSource();
    error = "line " + std::to_string(failure.line) + ": " + failure.reason;
    return false;
  }
  return true;
}

}  // namespace fx
