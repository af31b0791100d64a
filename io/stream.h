#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

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

  // Reads count items with one stream call instead of one per value. Only for items whose
  // stream image is their memory image: plain structs of floats and integers without padding,
  // whose size the caller ties to the stored size. The count is checked against the bytes left
  // before the vector is sized, so a hostile count can't make us allocate; that, or a short
  // read, fails the stream and gives false.
  template <class T>
  bool readArray(std::vector<T>& values, uint32_t count, const char* what) {
    static_assert(std::is_trivially_copyable_v<T>, "an array read copies the stored bytes into the items");
    if (!fits(count, static_cast<uint32_t>(sizeof(T)), what)) return false;
    values.resize(count);
    if (count > 0) readBytes(values.data(), static_cast<uint32_t>(count * sizeof(T)));
    return isGood();
  }

 private:
  // Fails the stream unless count items of itemBytes each fit in the bytes left; what names
  // the items in the reason.
  bool fits(uint32_t count, uint32_t itemBytes, const char* what);
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
