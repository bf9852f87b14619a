// What the driver must do in a call, each piece alone and out of line as a call is, with records of the driver's size.
#pragma once

namespace bench {

void Nothing(float x, float y, float z);
/// The call's counter.
void Count();
/// The record in the command stream.
void Append(float x, float y, float z);
/// The vertex of the open primitive.
void PushVertex(float x, float y, float z);
/// The calling thread's block, and whether it is suppressed.
void ReachThread();
/// Count, record and vertex, without the questions whether the call is a plain one.
void All(float x, float y, float z);
/// Makes room again.
void EmptyPieces();

}  // namespace bench
