#pragma once

#include <windows.h>

namespace host {

// Points every call a loaded module makes to one of its imports, `function` of
// `dll`, at `replacement` instead. Gives the address the module called before, or
// null when it imports no such function.
void* replaceImport(HMODULE module, const char* dll, const char* function, void* replacement);

// Writes one pointer into a table the loader or a library keeps read-only.
bool writeProtectedPointer(void** slot, void* value);

}  // namespace host
