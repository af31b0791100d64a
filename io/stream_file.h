#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "io/stream.h"

namespace tsio {

// Reads a file through the C runtime. A read that finds fewer bytes than it needs makes the
// stream not good; a typed read then leaves its destination alone.
class InStreamFile : public InStream {
 public:
  explicit InStreamFile(const std::string& path);
  ~InStreamFile() override;
  InStreamFile(const InStreamFile&) = delete;
  InStreamFile& operator=(const InStreamFile&) = delete;

  bool readObjectBody(Serializable* object) override;
  void readString(std::string& value) override;
  void readBytes(void* destination, uint32_t size) override;
  void readDouble(double* value) override { readValue(value); }
  void readFloat(float* value) override { readValue(value); }
  void readInt32(int32_t* value) override { readValue(value); }
  void readUint32(uint32_t* value) override { readValue(value); }
  void readInt16(int16_t* value) override { readValue(value); }
  void readUint16(uint16_t* value) override { readValue(value); }
  void readInt8(int8_t* value) override { readValue(value); }
  void readUint8(uint8_t* value) override { readValue(value); }
  void readBool(bool* value) override;
  bool isGood() override { return good; }
  int32_t size() override;
  int32_t tell() override;
  void seek(int32_t position) override;
  void skip(int32_t count) override;
  bool isOpen() override { return file != nullptr; }
  void fail(const std::string&) override { good = false; }

 private:
  // Reads exactly size bytes; false (and not good) when the file has fewer.
  bool take(void* destination, size_t size);
  template <class T>
  void readValue(T* value) {
    T read;
    if (take(&read, sizeof read)) *value = read;
  }

  std::FILE* file;
  bool good = true;
};

// Writes a file through the C runtime; an existing file is emptied.
class OutStreamFile : public OutStream {
 public:
  explicit OutStreamFile(const std::string& path);
  ~OutStreamFile() override;
  OutStreamFile(const OutStreamFile&) = delete;
  OutStreamFile& operator=(const OutStreamFile&) = delete;

  void writeObject(Serializable* object) override;
  void writeBytes(const void* source, uint32_t size) override;
  void writeString(const std::string& value) override { writeCString(value.c_str()); }
  void writeCString(const char* value) override;
  void writeDouble(double value) override { writeBytes(&value, sizeof value); }
  void writeFloat(float value) override { writeBytes(&value, sizeof value); }
  void writeInt32(int32_t value) override { writeBytes(&value, sizeof value); }
  void writeUint32(uint32_t value) override { writeBytes(&value, sizeof value); }
  void writeInt16(int16_t value) override { writeBytes(&value, sizeof value); }
  void writeUint16(uint16_t value) override { writeBytes(&value, sizeof value); }
  void writeInt8(int8_t value) override { writeBytes(&value, sizeof value); }
  void writeUint8(uint8_t value) override { writeBytes(&value, sizeof value); }
  void writeBool(bool value) override { writeUint8(value ? 1 : 0); }
  bool isOpen() override { return file != nullptr; }
  int32_t position() override;
  void patchUint32(uint32_t offset, uint32_t value) override;

 private:
  std::FILE* file;
};

}  // namespace tsio
