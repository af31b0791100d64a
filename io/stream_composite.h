#pragma once

#include <cstdint>
#include <string>

#include "io/stream.h"

namespace tsio {

// Decorator bases: every operation goes to the wrapped stream unchanged. With ownsInner set,
// the wrapped stream goes with the composite.
class InStreamComposite : public InStream {
 public:
  InStreamComposite(InStream* wrapped, bool ownsWrapped) : inner(wrapped), ownsInner(ownsWrapped) {}
  ~InStreamComposite() override;
  InStreamComposite(const InStreamComposite&) = delete;
  InStreamComposite& operator=(const InStreamComposite&) = delete;

  Serializable* readObject() override { return inner->readObject(); }
  bool readObjectBody(Serializable* object) override { return inner->readObjectBody(object); }
  void readString(std::string& value) override { inner->readString(value); }
  void readBytes(void* destination, uint32_t size) override { inner->readBytes(destination, size); }
  void readDouble(double* value) override { inner->readDouble(value); }
  void readFloat(float* value) override { inner->readFloat(value); }
  void readInt32(int32_t* value) override { inner->readInt32(value); }
  void readUint32(uint32_t* value) override { inner->readUint32(value); }
  void readInt16(int16_t* value) override { inner->readInt16(value); }
  void readUint16(uint16_t* value) override { inner->readUint16(value); }
  void readInt8(int8_t* value) override { inner->readInt8(value); }
  void readUint8(uint8_t* value) override { inner->readUint8(value); }
  void readBool(bool* value) override { inner->readBool(value); }
  bool isGood() override { return inner->isGood(); }
  int32_t size() override { return inner->size(); }
  int32_t tell() override { return inner->tell(); }
  void seek(int32_t position) override { inner->seek(position); }
  void skip(int32_t count) override { inner->skip(count); }
  bool isChunked() override { return inner->isChunked(); }
  int32_t chunkCode() override { return inner->chunkCode(); }
  int32_t chunkVersion() override { return inner->chunkVersion(); }
  int32_t chunkSize() override { return inner->chunkSize(); }
  bool isOpen() override { return inner->isOpen(); }
  void fail(const std::string& reason) override { inner->fail(reason); }
  bool claim(Serializable* object) override { return inner->claim(object); }

 protected:
  InStream* inner;
  bool ownsInner;
};

// beginChunk is the one operation that stops here: only a chunked stream gives it meaning.
class OutStreamComposite : public OutStream {
 public:
  OutStreamComposite(OutStream* wrapped, bool ownsWrapped) : inner(wrapped), ownsInner(ownsWrapped) {}
  ~OutStreamComposite() override;
  OutStreamComposite(const OutStreamComposite&) = delete;
  OutStreamComposite& operator=(const OutStreamComposite&) = delete;

  void writeObject(Serializable* object) override { inner->writeObject(object); }
  void writeBytes(const void* source, uint32_t size) override { inner->writeBytes(source, size); }
  void writeString(const std::string& value) override { inner->writeString(value); }
  void writeCString(const char* value) override { inner->writeCString(value); }
  void writeDouble(double value) override { inner->writeDouble(value); }
  void writeFloat(float value) override { inner->writeFloat(value); }
  void writeInt32(int32_t value) override { inner->writeInt32(value); }
  void writeUint32(uint32_t value) override { inner->writeUint32(value); }
  void writeInt16(int16_t value) override { inner->writeInt16(value); }
  void writeUint16(uint16_t value) override { inner->writeUint16(value); }
  void writeInt8(int8_t value) override { inner->writeInt8(value); }
  void writeUint8(uint8_t value) override { inner->writeUint8(value); }
  void writeBool(bool value) override { inner->writeBool(value); }
  void beginChunk(uint32_t, int32_t) override {}
  bool isOpen() override { return inner->isOpen(); }
  int32_t position() override { return inner->position(); }
  void patchUint32(uint32_t position, uint32_t value) override { inner->patchUint32(position, value); }

 protected:
  OutStream* inner;
  bool ownsInner;
};

}  // namespace tsio
