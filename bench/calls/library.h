// The driver as a program has it: a library loaded by its path, or, on Windows, one that the program imports.
#pragma once

namespace bench {

/// Loads it, or ends the process with a message.
void OpenLibrary(const char* path);
/// The address of an exported function; ends the process where there is none.
void* FindFunction(const char* name);

}  // namespace bench
