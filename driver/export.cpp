#include <windows.h>

#include "driver/driver_kmt.h"

extern "C" __declspec(dllexport) DriverKMT* TESSARIN_GetDriver() { return &theDriver; }

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) { return TRUE; }
