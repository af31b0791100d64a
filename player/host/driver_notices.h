#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace host {

// The driver's message boxes and debug output, taken over at its imports: the
// driver has no operation to hand them to us, and a box nobody sees would stop an
// unattended run for ever.
namespace driver_notices {

// Takes over the module's MessageBoxA and OutputDebugStringA.
void attach(HMODULE module);

// True while a person watches (live play): boxes show and wait. Otherwise, the
// default, each box becomes one line on stderr, "tsplay: TITLE: text", and the
// driver goes on as if it had been answered.
void showBoxes(bool shown);

// The lines the driver wrote to the debug output since the last call.
std::vector<std::string> takeDebugOutput();

}  // namespace driver_notices
}  // namespace host
