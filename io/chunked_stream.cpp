#include "io/chunked_stream.h"

#include <algorithm>

#include "io/chunk_registry.h"
#include "io/trace.h"

namespace tsio {
namespace {

char letter(uint32_t code, int index) { return static_cast<char>((code >> (8 * index)) & 0xFF); }

// A letter of a code read from a file, fit for a message: hostile bytes show as '?'.
char shown(uint32_t code, int index) {
  const char c = letter(code, index);
  return c >= 0x20 && c < 0x7F ? c : '?';
}

std::string describe(uint32_t code, uint16_t id) {
  return trace::text("%c%c%c%c (id %u)", shown(code, 0), shown(code, 1), shown(code, 2), shown(code, 3), id);
}

}  // namespace

void OutStreamChunked::beginChunk(uint32_t code, int32_t version) {
  const char a = letter(code, 0), b = letter(code, 1), c = letter(code, 2), d = letter(code, 3);
  // The top bit tells a reference word from a chunk: a code must leave it clear.
  if (code & 0x80000000u)
    traceBox("Bad Chunk : %c, %c, %c, %c", a, b, c, d);
  else
    traceLog("Store Chunk : %c%c%c%c, Version : %d", a, b, c, d, version);
  inner->writeUint32(code);
  inner->writeUint16(static_cast<uint16_t>(version));
  inner->writeUint16(static_cast<uint16_t>(currentId));
  sizePositions.push(inner->position());
  inner->writeInt32(-1);  // patched when the body is complete
}

void OutStreamChunked::writeObject(Serializable* object) {
  if (!object) {
    inner->writeUint32(0);
    return;
  }
  const auto known = objectIds.find(object);
  if (known != objectIds.end()) {
    inner->writeUint32(0x80000000u | known->second);
    return;
  }
  if (nextId >= kMaxObjects) {
    traceBoxIf(!refusedObjects, "TSIO : A file holds at most %d objects: the others are stored as null",
               kMaxObjects);
    refusedObjects = true;
    inner->writeUint32(0);
    return;
  }
  // Entered before its body is written, so that a reference back to it comes out as a reference.
  currentId = nextId++;
  objectIds[object] = static_cast<uint16_t>(currentId);
  const size_t depth = sizePositions.size();
  object->store(*this);
  traceBoxIf(sizePositions.size() != depth + 1, "TSIO : A store must open exactly one chunk");
  while (sizePositions.size() > depth) {
    const int32_t at = sizePositions.top();
    inner->patchUint32(static_cast<uint32_t>(at), static_cast<uint32_t>(inner->position() - at - 4));
    sizePositions.pop();
  }
}

Serializable* InStreamChunked::readObject() {
  if (!failure.empty()) return nullptr;
  if (!headers.empty()) return readNested();
  // A new graph: the objects of an earlier one belong to its caller, who may have freed them.
  objects.clear();
  return finishGraph(readNested());
}

Serializable* InStreamChunked::readNested() {
  const int32_t start = inner->tell();
  pushHeader();
  const int kind = readChunkHeader();
  Serializable* object = nullptr;
  if (!inner->isGood()) {
    reject(trace::text("the file ends inside the object at byte %d", start));
  } else if (kind == kChunk) {
    object = readChunk();
  } else if (kind == kReference) {
    // An id that isn't in the table gives null, and stays null.
    object = objects[currentId];
  }
  popHeader();
  return object;
}

Serializable* InStreamChunked::readChunk() {
  Header& header = headers.back();
  const auto code = static_cast<uint32_t>(header.code);
  const int64_t room = static_cast<int64_t>(limit()) - inner->tell();
  const auto left = static_cast<int32_t>(std::max<int64_t>(room, 0));
  if (currentSize < 0 || currentSize > left) {
    reject(trace::text("chunk %s declares %d bytes where %d are left", describe(code, header.id).c_str(), currentSize,
                  left));
    return nullptr;
  }
  header.end = inner->tell() + currentSize;
  // Only chunks recurse: a reference or a null word at any depth is harmless.
  if (headers.size() > kMaxDepth) {
    reject(trace::text("chunks nest deeper than %u levels", static_cast<unsigned>(kMaxDepth)));
    return nullptr;
  }
  CRSerializable* registrer = findChunk(code);
  if (!registrer) {
    traceBox("TSIO : Unknown chunk read : %c%c%c%c, version : %d, size : %d", shown(code, 0), shown(code, 1),
             shown(code, 2), shown(code, 3), header.version, currentSize);
    inner->skip(currentSize);
    return nullptr;
  }
  expectingBody = true;
  Serializable* object = registrer->create(*this);
  expectingBody = false;
  const Header& done = headers.back();  // the nested reads may have moved the stack
  if (!inner->isGood())
    reject(trace::text("the file ends inside chunk %s", describe(code, done.id).c_str()));
  else if (inner->tell() > done.end)
    reject(trace::text("chunk %s reads %d bytes past its end", describe(code, done.id).c_str(), inner->tell() - done.end));
  return object;
}

bool InStreamChunked::readObjectBody(Serializable* object) {
  if (!object) return false;
  // Only the body that readChunk asked for enters the tables; any other is read in place.
  if (!expectingBody) return object->load(*this);
  expectingBody = false;
  // First, so that the body's references to itself resolve. A later chunk with the same id
  // takes the entry over; the earlier object stays in `made`, so nothing is lost.
  objects[headers.back().id] = object;
  made[object] = Made{true, false};
  const bool accepted = object->load(*this);
  made[object].loading = false;
  return accepted;
}

Serializable* InStreamChunked::finishGraph(Serializable* root) {
  std::vector<Serializable*> unclaimed;
  for (const auto& [object, state] : made)
    if (object != root && !state.claimed) unclaimed.push_back(object);
  made.clear();
  if (failure.empty()) {
    if (root) root->keepUnowned(unclaimed);
    return root;
  }
  traceBox("TSIO : Unreadable file : %s", failure.c_str());
  // Owners delete what they claimed: deleting the rest releases everything exactly once.
  for (Serializable* object : unclaimed) delete object;
  delete root;
  objects.clear();
  return nullptr;
}

bool InStreamChunked::claim(Serializable* object) {
  const auto entry = made.find(object);
  if (entry == made.end() || entry->second.loading || entry->second.claimed) return false;
  entry->second.claimed = true;
  return true;
}

void InStreamChunked::fail(const std::string& reason) {
  if (headers.empty())
    reject(reason);
  else
    reject(reason + " in chunk " + describe(static_cast<uint32_t>(headers.back().code), headers.back().id));
}

void InStreamChunked::reject(const std::string& reason) {
  if (failure.empty()) failure = reason;
}

int InStreamChunked::readChunkHeader() {
  Header& header = headers.back();
  inner->readInt32(&header.code);
  if (header.code == 0) return kNullWord;
  if (header.code < 0) {
    currentId = static_cast<uint16_t>(static_cast<uint32_t>(header.code) & 0xFFFFu);
    return kReference;
  }
  inner->readUint16(&header.version);
  inner->readUint16(&currentId);
  inner->readInt32(&currentSize);
  header.id = currentId;
  return kChunk;
}

void InStreamChunked::pushHeader() { headers.push_back(Header{0, 0, 0, 0}); }

void InStreamChunked::popHeader() {
  if (!headers.empty()) headers.pop_back();
}

int32_t InStreamChunked::limit() { return headers.size() >= 2 ? headers[headers.size() - 2].end : inner->size(); }

}  // namespace tsio
