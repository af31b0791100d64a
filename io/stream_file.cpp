#include "io/stream_file.h"

#include <cstring>

#include "io/serializable.h"

// A stream whose file couldn't be opened reads nothing and writes nothing: its owner is meant
// to test isOpen, but a forgotten test must not crash.
namespace tsio {

InStreamFile::InStreamFile(const std::string& path) : file(std::fopen(path.c_str(), "rb")) {}

InStreamFile::~InStreamFile() {
  if (file) std::fclose(file);
}

bool InStreamFile::readObjectBody(Serializable* object) { return object->load(*this); }

bool InStreamFile::take(void* destination, size_t size) {
  if (!file || std::fread(destination, 1, size, file) != size) {
    good = false;
    return false;
  }
  return true;
}

void InStreamFile::readBytes(void* destination, uint32_t size) { take(destination, size); }

void InStreamFile::readBool(bool* value) {
  uint8_t byte = 0;
  if (take(&byte, 1)) *value = byte != 0;
}

void InStreamFile::readString(std::string& value) {
  value.clear();
  if (!file) return;
  for (int c = std::fgetc(file); c != EOF && c != 0; c = std::fgetc(file)) value.push_back(static_cast<char>(c));
}

int32_t InStreamFile::size() {
  if (!file) return 0;
  const long saved = std::ftell(file);
  std::fseek(file, 0, SEEK_END);
  const long end = std::ftell(file);
  std::fseek(file, saved, SEEK_SET);
  return static_cast<int32_t>(end);
}

int32_t InStreamFile::tell() { return file ? static_cast<int32_t>(std::ftell(file)) : 0; }

void InStreamFile::seek(int32_t position) {
  if (file) std::fseek(file, position, SEEK_SET);
}

void InStreamFile::skip(int32_t count) {
  if (file) std::fseek(file, count, SEEK_CUR);
}

OutStreamFile::OutStreamFile(const std::string& path) : file(std::fopen(path.c_str(), "wb")) {}

OutStreamFile::~OutStreamFile() {
  if (file) std::fclose(file);
}

void OutStreamFile::writeObject(Serializable* object) {
  if (object)
    object->store(*this);
  else
    writeInt32(0);
}

void OutStreamFile::writeBytes(const void* source, uint32_t size) {
  if (file && size > 0) std::fwrite(source, 1, size, file);
}

void OutStreamFile::writeCString(const char* value) { writeBytes(value, static_cast<uint32_t>(std::strlen(value)) + 1); }

int32_t OutStreamFile::position() { return file ? static_cast<int32_t>(std::ftell(file)) : 0; }

void OutStreamFile::patchUint32(uint32_t offset, uint32_t value) {
  if (!file) return;
  const long saved = std::ftell(file);
  std::fseek(file, static_cast<long>(offset), SEEK_SET);
  std::fwrite(&value, sizeof value, 1, file);
  std::fseek(file, saved, SEEK_SET);
}

}  // namespace tsio
