#pragma once

#include <cstdint>
#include <string>

#include "io/trace.h"

// Typed streams. Every value is stored as its raw little-endian image, with no tag and no
// padding; strings end with a 0 byte and have no length field. The object operations
// (readObject, writeObject, beginChunk) only mean something on the chunked streams.
namespace tsio {

class Serializable;

class InStream {
 public:
  virtual Serializable* readObject();
  // Runs the object's load on this stream and gives its result.
  virtual bool readObjectBody(Serializable* object) = 0;
  virtual void readString(std::string& value) = 0;
  virtual void readBytes(void* destination, uint32_t size) = 0;
  virtual void readDouble(double* value) = 0;
  virtual void readFloat(float* value) = 0;
  virtual void readInt32(int32_t* value) = 0;
  virtual void readUint32(uint32_t* value) = 0;
  virtual void readInt16(int16_t* value) = 0;
  virtual void readUint16(uint16_t* value) = 0;
  virtual void readInt8(int8_t* value) = 0;
  virtual void readUint8(uint8_t* value) = 0;
  virtual void readBool(bool* value) = 0;
  // False once a read ran past the end or the stream was failed; it stays false.
  virtual bool isGood() = 0;
  virtual int32_t size() = 0;
  virtual int32_t tell() = 0;
  virtual void seek(int32_t position) = 0;
  virtual void skip(int32_t count) = 0;
  virtual bool isChunked();
  virtual int32_t chunkCode();
  virtual int32_t chunkVersion();
  virtual int32_t chunkSize();
  virtual ~InStream();
  virtual bool isOpen() = 0;

  // Every file may be hostile. A load that finds data that could crash, hang or exhaust memory
  // calls fail: the read of the whole object graph then gives null with one message. The
  // reason names what is wrong.
  virtual void fail(const std::string& reason) = 0;
  void failf(const char* format, ...) TS_PRINTF_FORMAT(2, 3);
  // Makes the caller the owner of an object that this stream read, see serializable.h.
  virtual bool claim(Serializable* object);

  // The one version rule of every class that tests its version: on a chunked stream a body of
  // a version outside lowest..highest is stepped over whole and the result is false, so that
  // the parent reads on in step; the class then reads nothing. Plain streams have no versions.
  bool acceptsVersion(int32_t lowest, int32_t highest);

  // Bytes between the read position and the end, never negative.
  int32_t remaining();
  // The fewest bytes an object field takes in a stream: the null word, or a reference.
  static constexpr uint32_t kObjectFieldBytes = 4;

  // Reads a 4-byte count of items that take at least minItemBytes each in the stream. A count
  // that the remaining bytes can't hold fails the stream; then the count is 0 and the result false.
  bool readCount(uint32_t* count, uint32_t minItemBytes);
};

class OutStream {
 public:
  virtual void writeObject(Serializable* object) = 0;
  virtual void writeBytes(const void* source, uint32_t size) = 0;
  virtual void writeString(const std::string& value) = 0;
  virtual void writeCString(const char* value) = 0;
  virtual void writeDouble(double value) = 0;
  virtual void writeFloat(float value) = 0;
  virtual void writeInt32(int32_t value) = 0;
  virtual void writeUint32(uint32_t value) = 0;
  virtual void writeInt16(int16_t value) = 0;
  virtual void writeUint16(uint16_t value) = 0;
  virtual void writeInt8(int8_t value) = 0;
  virtual void writeUint8(uint8_t value) = 0;
  virtual void writeBool(bool value) = 0;
  // Opens the chunk of the object being stored; a class's store calls it first, once.
  virtual void beginChunk(uint32_t code, int32_t version);
  virtual ~OutStream();
  virtual bool isOpen() = 0;
  // Write position from the stream's start.
  virtual int32_t position() = 0;
  // Overwrites 4 bytes at an earlier position; the write position stays where it was.
  virtual void patchUint32(uint32_t position, uint32_t value) = 0;
};

// A chunk code from its four letters, first letter in the lowest byte: fourCC("SCHE") is 0x45484353.
constexpr uint32_t fourCC(const char (&letters)[5]) {
  return static_cast<uint32_t>(static_cast<unsigned char>(letters[0])) |
         static_cast<uint32_t>(static_cast<unsigned char>(letters[1])) << 8 |
         static_cast<uint32_t>(static_cast<unsigned char>(letters[2])) << 16 |
         static_cast<uint32_t>(static_cast<unsigned char>(letters[3])) << 24;
}

}  // namespace tsio
