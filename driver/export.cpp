#include <windows.h>

#include "driver/driver_kmt.h"
#include "sound/fsound/fsound.h"

extern "C" __declspec(dllexport) DriverKMT* TESSARIN_GetDriver() { return &theDriver; }

// Runs before the module's static objects are destroyed. At the process's end (`reserved` set)
// every other thread has been stopped already, the sound library's mixer among them.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  if (reason == DLL_PROCESS_DETACH && reserved) fsound::abandonAtProcessExit();
  return TRUE;
}
