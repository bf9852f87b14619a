#!/usr/bin/env bash
# The shader bytecode as an independent reader understands it: translated to SPIR-V and validated.
# shader_translation.sh ASSEMBLER; exit code 77 where the tools are missing.
set -euo pipefail
command -v vkd3d-compiler >/dev/null && command -v spirv-val >/dev/null && command -v spirv-dis >/dev/null || exit 77
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
python3 "$1" --binary "$folder"
for stage in vs ps; do
  python3 "$1" --verify "$folder/post_process_$stage.dxbc"
  vkd3d-compiler -x dxbc-tpf -b spirv-binary -o "$folder/$stage.spv" "$folder/post_process_$stage.dxbc"
  spirv-val --target-env vulkan1.0 "$folder/$stage.spv"
  spirv-dis -o "$folder/$stage.txt" "$folder/$stage.spv"
done
# What the reader saw: every operation of the pixel shader, in the number in which the source has it.
expect() {
  local count
  count=$(grep -c -E "$2" "$folder/ps.txt" || true)
  [ "$count" -eq "$1" ] || { echo "expected $1 of $2, found $count"; exit 1; }
}
expect 1 'OpImageSampleImplicitLod'
expect 7 'OpDot'
expect 1 'OpExtInst .* Sin'
expect 1 'OpExtInst .* Cos'
expect 1 'OpExtInst .* Log2'
expect 1 'OpExtInst .* Exp2'
expect 2 'OpExtInst .* NClamp'
grep -q 'OpConstant %float 0.858823' "$folder/ps.txt"
grep -q 'BuiltIn VertexIndex' "$folder/vs.txt"
grep -q 'BuiltIn Position' "$folder/vs.txt"
