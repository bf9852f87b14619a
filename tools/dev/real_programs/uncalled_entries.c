/* Stands between SDL2's testgl2 and SDL's look-up: an entry that is absent becomes one that ends the program. */
#include "SDL.h"

extern void* SDLCALL ProcAddressOrTrap(const char* name);

static void Trap(void) {
  SDL_Log("called an entry that the driver does not have");
  _exit(3);
}

void* SDLCALL ProcAddressOrTrap(const char* name) {
  void* entry = SDL_GL_GetProcAddress(name);
  if (entry != NULL) return entry;
  SDL_Log("absent: %s", name);
  return (void*)Trap;
}
