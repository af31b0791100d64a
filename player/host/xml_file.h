#pragma once

#include <rapidxml.hpp>

#include <string>
#include <utility>
#include <vector>

namespace host {

// Where a file went wrong, told to the user as "FILE:LINE: problem" (line 0: the
// file as a whole).
struct LoadError {
  std::string file;
  int line = 0;
  std::string problem;

  std::string message() const;
};

using XmlNode = rapidxml::xml_node<char>;
using XmlAttribute = rapidxml::xml_attribute<char>;

// An XML file read whole and parsed in place. The parser keeps no line numbers,
// so an unchanged copy of the text tells the line of any position in the buffer.
class XmlFile {
 public:
  XmlFile() = default;
  XmlFile(const XmlFile&) = delete;
  XmlFile& operator=(const XmlFile&) = delete;

  // Files above this size are refused before they are read.
  static constexpr long kMaxBytes = 16L << 20;
  // Files whose elements nest deeper are refused before they are parsed.
  static constexpr int kMaxDepth = 32;

  // False with `error` set when the file cannot be read, is not XML, or its root
  // element is not `rootTag`.
  bool load(const std::string& path, const char* rootTag, LoadError& error);
  // The same for text that came from elsewhere; `name` stands for the file in messages.
  bool loadText(const std::string& name, const std::string& text, const char* rootTag, LoadError& error);

  const XmlNode* root() const { return rootNode; }
  const std::string& path() const { return filePath; }
  // The file's text as it was read.
  const std::string& text() const { return original; }

  int lineOf(const char* position) const;
  // Where a non-empty attribute value stands in text(), as written: entities not yet decoded.
  std::pair<size_t, size_t> valueSpan(const XmlAttribute* attribute) const;
  LoadError errorAt(const XmlNode* node, const std::string& problem) const;
  LoadError errorAt(const XmlAttribute* attribute, const std::string& problem) const;

 private:
  // Parses `original`, read already.
  bool parse(const char* rootTag, LoadError& error);

  std::string filePath;
  std::string original;
  std::vector<char> buffer;
  rapidxml::xml_document<char> document;
  const XmlNode* rootNode = nullptr;
};

// The attribute's value, or null when the element has none.
const char* attributeValue(const XmlNode* node, const char* name);

// Whole-string numbers: no trailing text, and finite.
bool parseFloat(const char* text, float& value);
bool parseInt(const char* text, int& value);

}  // namespace host
