#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "io/stream.h"

namespace tsio {

// Reads over bytes that someone else owns. Reads are bounded: one that needs more than is
// left reads nothing, moves to the end and makes the stream not good.
class InStreamMemory : public InStream {
 public:
  // Points the stream at size bytes (kept by the caller) and rewinds it.
  void setRange(const void* data, int32_t size);

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
  int32_t size() override { return length; }
  int32_t tell() override { return position; }
  void seek(int32_t target) override { position = target; }
  void skip(int32_t count) override;
  bool isOpen() override { return data != nullptr; }
  void fail(const std::string&) override { good = false; }

 private:
  // Copies exactly size bytes; false (and not good) when fewer are left.
  bool take(void* destination, uint32_t size);
  template <class T>
  void readValue(T* value) {
    take(value, sizeof(T));
  }
  // Bytes readable from the position: none when it stands outside the range.
  uint32_t available() const;

  const unsigned char* data = nullptr;
  int32_t length = 0;
  int32_t position = 0;
  bool good = true;
};

// Collects what is written in a growing vector.
class OutStreamMemory : public OutStream {
 public:
  const std::vector<uint8_t>& bytes() const { return buffer; }

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
  bool isOpen() override { return true; }
  int32_t position() override { return static_cast<int32_t>(buffer.size()); }
  void patchUint32(uint32_t offset, uint32_t value) override;

 private:
  std::vector<uint8_t> buffer;
};

}  // namespace tsio
