#include "io/chunk_registry.h"

#include "io/trace.h"

namespace tsio {
namespace {

// Made by the first registration and deleted by the last unregistration, so the table needs no
// place in the order of static construction.
std::map<uint32_t, CRSerializable*>* registry = nullptr;

char letter(uint32_t code, int index) { return static_cast<char>((code >> (8 * index)) & 0xFF); }

}  // namespace

void registerChunk(CRSerializable* registrer, uint32_t code) {
  if (!registry) registry = new std::map<uint32_t, CRSerializable*>;
  (*registry)[code] = registrer;
  traceLog("Registred chunk : %c, %c, %c, %c", letter(code, 0), letter(code, 1), letter(code, 2), letter(code, 3));
}

CRSerializable* findChunk(uint32_t code) {
  if (!registry) return nullptr;
  const auto entry = registry->find(code);
  return entry == registry->end() ? nullptr : entry->second;
}

void unregisterChunk(uint32_t code) {
  if (!registry) return;
  registry->erase(code);
  if (registry->empty()) {
    delete registry;
    registry = nullptr;
  }
}

const std::map<uint32_t, CRSerializable*>* chunkRegistry() { return registry; }

}  // namespace tsio
