// The frame boundary: what a swap and a read-back do with the recorded frame.
#pragma once

namespace tlr2 {

/// Everything of a swap after its accounting, in its fixed order. The frame number always goes up.
void SwapFrame(void* hdc);
/// Builds what is recorded so far, in the middle of a frame, and, if that left triangles or a colour clear, renders it
/// into the current context's surface and starts a new frame from there. False when the build failed.
bool DrainForReadBack();

}  // namespace tlr2
