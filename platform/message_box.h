#pragma once

// Every message box of the system passes through messageBox, so that a host, the
// reference player or a test can redirect it. A modal box under a virtual display
// would block forever; tests install a recorder instead.
namespace platform {

// Style bits, with the values of the Win32 constants, so callers need no Windows header.
constexpr unsigned int kIconError = 0x10;
constexpr unsigned int kIconExclamation = 0x30;
constexpr unsigned int kIconInformation = 0x40;

using MessageBoxHandler = int (*)(const char* text, const char* title, unsigned int style);

int messageBox(const char* text, const char* title, unsigned int style);

// Installs a handler; null restores the system's own box. Gives the previous handler.
MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler);

}  // namespace platform
