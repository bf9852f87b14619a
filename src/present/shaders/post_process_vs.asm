; One triangle that covers the screen, made from the vertex number alone; no buffers are bound.
vs_4_0
input  SV_VertexID v0.x    uint  sgv=vertex_id
output SV_Position o0.xyzw float siv=position
output TEXCOORD    o1.xy   float
temps 1

ishl r0.x, v0.x, l(1)
and  r0.x, r0.x, l(2)
and  r0.y, v0.x, l(2)
utof r0.xy, r0.xyxx               ; u = (id << 1) & 2, v = id & 2
mov  o1.xy, r0.xyxx
mul  r0.xy, r0.xyxx, l(2.0, 2.0, 0.0, 0.0)
add  o0.x, r0.x, l(-1.0)          ; u * 2 - 1
add  o0.y, -r0.y, l(1.0)          ; 1 - v * 2: texture rows run downwards
mov  o0.zw, l(0.0, 0.0, 0.0, 1.0)
ret
