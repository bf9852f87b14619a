// A library that draws the scenes: loaded by its path, with a window or a buffer to draw into. One implementation for
// each system; one library a process, since both export the same names and fix their threads when they are loaded.
#pragma once

#include <cstdint>
#include <vector>

#include "gl_functions.h"

namespace bench {

/// Milliseconds of one frame.
struct FrameTimes {
  double wall;       // from the first call to the end of the swap
  double processor;  // of all threads of the process, as far as the system tells
  double chain;      // the same, but of the workers only the one that worked longest: a frame's time if each thread had
                     // a processor of its own, for what a frame does comes one after another but for the workers
  double present;    // what showing the finished picture took, where it is seen: part of `wall`
};

double Milliseconds();
/// Starts to count the process's work, and sets `processor` and `chain` to what was done since.
void StartWork();
void WorkSinceStart(FrameTimes& times);

/// Loads it, or ends the process with a message. Kinds: "tlr2", and where there is one "osmesa".
bool OpenLibrary(const char* kind, const char* path);
const Gl& LibraryFunctions();
/// A window or a buffer of that size, with a context that is current.
bool OpenTarget(int width, int height);
/// Ends a frame: the swap, or what makes the other library finish it.
void EndFrame();
/// What showing the last frame took; to be asked before the next one. On Windows the Direct3D calls of the swap; 0 for
/// headless windows and buffers, which show nothing.
double PresentMilliseconds();
/// The picture of the last frame, 0xAARRGGBB, rows from the top; empty where the system has no way to it.
std::vector<std::uint32_t> TargetPicture();
void CloseTarget();

}  // namespace bench
