# The left part of each frame is of the primitive that an earlier frame, or the keyframe, has opened.
for frame in 0 1 2; do
  tlr2_replay explain --isa sse4 --frame $frame --pixel 2,46 open_primitive.tlr2-capture | grep triangle
  tlr2_replay explain --isa sse4 --frame $frame --pixel 60,46 open_primitive.tlr2-capture | grep triangle
done
tlr2_replay explain --isa sse4 --frame 1 --pixel 2,46 --json open_primitive.tlr2-capture | grep -A12 '"triangles"'
