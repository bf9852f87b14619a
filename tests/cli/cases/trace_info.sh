cat > trace <<'END'
=== TLR2 trace (UI, frames 2..3 inclusive) ===
[TLR2 isa = avx2]
[frame=2][seq=     1] TLR2::GL::Begin                      (mode=0x0004)
[frame=2][seq=     2] TLR2::GL::End                        ()
[frame=3][seq=     3] TLR2::GL::Begin                      (mode=0x0004)
[frame=3][seq=     4] TLR2::DxgiPresent::PresentSwapChain  (Present hr=0x80004005)
[frame=3][seq=     6] TLR2::WGL::SwapBuffers               (hdc=0x1)
=== end of trace ===
END
tlr2_replay trace-info trace
