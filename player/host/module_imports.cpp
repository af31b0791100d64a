#include "player/host/module_imports.h"

#include <cstring>

namespace host {

bool writeProtectedPointer(void** slot, void* value) {
  DWORD previous = 0;
  if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &previous)) return false;
  *slot = value;
  VirtualProtect(slot, sizeof *slot, previous, &previous);
  return true;
}

void* replaceImport(HMODULE module, const char* dll, const char* function, void* replacement) {
  auto* base = reinterpret_cast<BYTE*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.VirtualAddress == 0) return nullptr;
  void* original = nullptr;
  // The linker may give one library several descriptors: each is patched.
  for (auto* entry = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress); entry->Name;
       ++entry) {
    if (lstrcmpiA(reinterpret_cast<const char*>(base + entry->Name), dll) != 0) continue;
    // The names stay in the lookup table; the loader wrote the addresses over the other one.
    const DWORD lookup = entry->OriginalFirstThunk ? entry->OriginalFirstThunk : entry->FirstThunk;
    const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + lookup);
    auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->FirstThunk);
    for (; names->u1.AddressOfData; ++names, ++slots) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* byName = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(byName->Name), function) != 0) continue;
      void* previous = reinterpret_cast<void*>(slots->u1.Function);
      if (!writeProtectedPointer(reinterpret_cast<void**>(&slots->u1.Function), replacement)) continue;
      if (!original) original = previous;
    }
  }
  return original;
}

}  // namespace host
