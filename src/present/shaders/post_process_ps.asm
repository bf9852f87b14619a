; Colour adjustments of the finished picture: hue in YIQ, saturation about luma, brightness, gamma, video range.
; The order is the meaning: each step works on the result of the one before it.
ps_4_0
input  SV_Position v0.xyzw float siv=position unread
input  TEXCOORD    v1.xy   float
output SV_Target   o0.xyzw float

sampler   smp s0
texture2d src t0
cbuffer   PostProcessConstants cb0 size=32
  field gamma        0 float
  field hueRadians   4 float
  field saturation   8 float
  field brightness  12 float
  field videoRange  16 float
  field _pad        20 float3 unused
temps 4

sample r0.xyzw, v1.xyxx, t0.xyzw, s0

dp3 r1.x, r0.xyzx, l(0.299, 0.587, 0.114, 0.0)              ; Y
dp3 r1.y, r0.xyzx, l(0.595716, -0.274453, -0.321263, 0.0)   ; I
dp3 r1.z, r0.xyzx, l(0.211456, -0.522591, 0.311135, 0.0)    ; Q

; The hue is a rotation of (I, Q).
sincos r2.x, r2.y, cb0[0].y
mul r2.zw, r1.yyyz, r2.yyyx       ; I * c, Q * s
add r3.y, r2.z, -r2.w
mul r2.zw, r1.yyyz, r2.xxxy       ; I * s, Q * c
add r3.z, r2.z, r2.w
mov r3.x, r1.x

dp3 r1.x, r3.xyzx, l(1.0, 0.9563, 0.621, 0.0)
dp3 r1.y, r3.xyzx, l(1.0, -0.2721, -0.6474, 0.0)
dp3 r1.z, r3.xyzx, l(1.0, -1.107, 1.7046, 0.0)

dp3 r1.w, r1.xyzx, l(0.2126, 0.7152, 0.0722, 0.0)           ; L
add r2.xyz, r1.xyzx, -r1.wwww
mul r2.xyz, r2.xyzx, cb0[0].zzzz
add r1.xyz, r1.wwww, r2.xyzx      ; L + saturation * (rgb - L)

mul_sat r1.xyz, r1.xyzx, cb0[0].wwww

; The gamma value is the exponent itself. Black has the logarithm minus infinity and stays black.
log r1.xyz, r1.xyzx
max r1.w, cb0[0].x, l(0.01)
mul r1.xyz, r1.xyzx, r1.wwww
exp r1.xyz, r1.xyzx

mul r2.xyz, r1.xyzx, l(0.8588235, 0.8588235, 0.8588235, 0.0)     ; 219 / 255
add r2.xyz, r2.xyzx, l(0.0627451, 0.0627451, 0.0627451, 0.0)     ; 16 / 255
add r2.xyz, r2.xyzx, -r1.xyzx
mul r2.xyz, r2.xyzx, cb0[1].xxxx
add_sat o0.xyz, r1.xyzx, r2.xyzx
mov o0.w, r0.w
ret
