#include "player/host/xml_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace host {

namespace {

// Where `text` from `from` on first holds `pattern`, or its end.
size_t skipPast(const std::string& text, size_t from, const char* pattern) {
  const size_t found = text.find(pattern, from);
  return found == std::string::npos ? text.size() : found + std::strlen(pattern);
}

// The first opening tag below `limit` levels, found by reading the tags as the
// parser will, quoted attribute values and comments skipped; null when there is
// none.
const char* deepestOpening(const std::string& text, int limit) {
  int depth = 0;
  size_t i = 0;
  while ((i = text.find('<', i)) != std::string::npos) {
    if (text.compare(i, 4, "<!--") == 0) {
      i = skipPast(text, i, "-->");
    } else if (text.compare(i, 9, "<![CDATA[") == 0) {
      i = skipPast(text, i, "]]>");
    } else if (text.compare(i, 2, "<?") == 0) {
      i = skipPast(text, i, "?>");
    } else {
      const size_t start = i;
      char quote = 0;
      for (++i; i < text.size(); ++i) {
        const char c = text[i];
        if (quote) {
          if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
          quote = c;
        } else if (c == '>') {
          break;
        }
      }
      const bool closing = text.compare(start, 2, "</") == 0;
      const bool empty = i < text.size() && text[i - 1] == '/';
      if (closing) {
        --depth;
      } else if (!empty && text[start + 1] != '!' && ++depth > limit) {
        return text.data() + start;
      }
    }
  }
  return nullptr;
}

}  // namespace

std::string LoadError::message() const {
  return line > 0 ? file + ":" + std::to_string(line) + ": " + problem : file + ": " + problem;
}

bool XmlFile::load(const std::string& path, const char* rootTag, LoadError& error) {
  filePath = path;
  buffer.clear();
  error = LoadError{path, 0, ""};
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) {
    error.problem = "cannot open the file";
    return false;
  }
  long size = -1;
  if (std::fseek(file.get(), 0, SEEK_END) == 0) size = std::ftell(file.get());
  if (size < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) {
    error.problem = "cannot read the file";
    return false;
  }
  if (size > kMaxBytes) {
    error.problem = "the file is larger than " + std::to_string(kMaxBytes >> 20) + " MB";
    return false;
  }
  original.assign(static_cast<size_t>(size), '\0');
  if (size > 0 && std::fread(&original[0], 1, original.size(), file.get()) != original.size()) {
    error.problem = "cannot read the file";
    return false;
  }
  return parse(rootTag, error);
}

bool XmlFile::loadText(const std::string& name, const std::string& text, const char* rootTag, LoadError& error) {
  filePath = name;
  buffer.clear();
  error = LoadError{name, 0, ""};
  original = text;
  return parse(rootTag, error);
}

bool XmlFile::parse(const char* rootTag, LoadError& error) {
  // A 0 byte inside would end the parse early and hide the rest of the file.
  const size_t zero = original.find('\0');
  if (zero != std::string::npos) {
    error.line = lineOf(original.data() + zero);
    error.problem = "a 0 byte is not XML";
    return false;
  }
  // The parser recurses once per level: a hostile file must not exhaust the stack.
  const char* tooDeep = deepestOpening(original, kMaxDepth);
  if (tooDeep) {
    error.line = lineOf(tooDeep);
    error.problem = "elements nest deeper than " + std::to_string(kMaxDepth) + " levels";
    return false;
  }
  buffer.assign(original.begin(), original.end());
  buffer.push_back('\0');
  try {
    // Closing tags are checked too, or "</layer>" could close an <effect>.
    document.parse<rapidxml::parse_default | rapidxml::parse_validate_closing_tags>(buffer.data());
  } catch (const rapidxml::parse_error& failure) {
    const char* where = failure.where<char>();
    // At the end of the data the parser may point past the last byte.
    error.line = lineOf(std::min<const char*>(where, buffer.data() + original.size()));
    error.problem = std::string("malformed XML: ") + failure.what();
    return false;
  }
  rootNode = document.first_node();
  if (!rootNode || rootNode->type() != rapidxml::node_element) {
    error.problem = std::string("no <") + rootTag + "> element";
    return false;
  }
  if (std::string(rootNode->name()) != rootTag) {
    error = errorAt(rootNode, std::string("the root element is <") + rootNode->name() + ">, not <" + rootTag + ">");
    return false;
  }
  return true;
}

int XmlFile::lineOf(const char* position) const {
  // The parse buffer keeps the offsets of the text, though not all its bytes.
  const char* base = buffer.empty() ? original.data() : buffer.data();
  if (position < base || position > base + original.size()) return 0;
  const auto end = original.begin() + (position - base);
  return 1 + static_cast<int>(std::count(original.begin(), end, '\n'));
}

std::pair<size_t, size_t> XmlFile::valueSpan(const XmlAttribute* attribute) const {
  // The value is parsed in place, so it starts where it was written, just behind its quote.
  const size_t at = static_cast<size_t>(attribute->value() - buffer.data());
  const size_t end = original.find(original[at - 1], at);
  return {at, end - at};
}

LoadError XmlFile::errorAt(const XmlNode* node, const std::string& problem) const {
  // Text between elements has no name: its first visible character tells the line.
  const char* at = node->name();
  if (node->type() != rapidxml::node_element)
    for (at = node->value(); *at == ' ' || *at == '\t' || *at == '\r' || *at == '\n';) ++at;
  return LoadError{filePath, lineOf(at), problem};
}

LoadError XmlFile::errorAt(const XmlAttribute* attribute, const std::string& problem) const {
  return LoadError{filePath, lineOf(attribute->name()), problem};
}

const char* attributeValue(const XmlNode* node, const char* name) {
  const XmlAttribute* attribute = node->first_attribute(name);
  return attribute ? attribute->value() : nullptr;
}

bool parseFloat(const char* text, float& value) {
  if (!text || !*text) return false;
  char* end = nullptr;
  errno = 0;
  const float parsed = std::strtof(text, &end);
  if (*end != '\0' || errno == ERANGE || !std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

bool parseInt(const char* text, int& value) {
  if (!text || !*text) return false;
  char* end = nullptr;
  errno = 0;
  const long parsed = std::strtol(text, &end, 10);
  if (*end != '\0' || errno == ERANGE || parsed < INT32_MIN || parsed > INT32_MAX) return false;
  value = static_cast<int>(parsed);
  return true;
}

}  // namespace host
