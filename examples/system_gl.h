// The system's own GL declarations: the example is written as any program would be.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

#include <GL/gl.h>

// Newer than the 1.1 header that some systems have.
#ifndef GL_CLAMP_TO_EDGE
#define GL_CLAMP_TO_EDGE 0x812F
#endif
