#!/usr/bin/env bash
# Runs the tile kernels as machine code on a processor with AVX-512, emulated where this one has none: Debian's Bochs
# boots Debian's kernel with test programs for its only processes. First the tests of the avx512skx kernel, its random
# calls among them, then how many instructions each target executes a micro tile and layer of the benchmark's scenes.
#
# usage: avx512_machine.sh [--32] [--tiles N] [--no-tests | --no-counts] [TARGET or SCENE...]
#
# 32-bit programs with --32; N random calls (20000 by default) and N/8 random piles; counts of all targets and scenes by
# default. The emulator executes some 30 million instructions a second. Build, kernel and output lie in
# build/avx512-machine/.
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$PWD
fail() { echo "avx512_machine: $*" >&2; exit 2; }

preset=native
tiles=20000
tests=1
counts=1
names=()
while [ $# -gt 0 ]; do
  case "$1" in
    --32) preset=native32 ;;
    --tiles) tiles=${2:-}; shift; [[ $tiles =~ ^[1-9][0-9]*$ ]] || fail "--tiles needs a number" ;;
    --no-tests) tests=0 ;;
    --no-counts) counts=0 ;;
    -*) sed -n '2,10s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
    *) names+=("$1") ;;
  esac
  shift
done

# Light packages, but of no use to anything else here, so they are asked for and not installed.
missing=()
for package in bochs bochs-term bochsbios vgabios isolinux syslinux-common xorriso cpio bsdutils; do
  dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] || fail "needs: apt-get install --no-install-recommends ${missing[*]}"

work=$root/build/avx512-machine
mkdir -p "$work/kernel" "$work/root/dev" "$work/root/proc" "$work/root/tmp" "$work/disc/isolinux"

# The kernel is taken out of its package, not installed. The one for virtual machines unpacks itself ten times as fast.
if ! compgen -G "$work/kernel/boot/vmlinuz-*" >/dev/null; then
  package=$(apt-cache depends linux-image-cloud-amd64 | sed -nE 's/^ *Depends: (linux-image-[^ ]+)$/\1/p' | head -n 1)
  [ -n "$package" ] || fail "no package linux-image-cloud-amd64 is known: apt-get update"
  (cd "$work/kernel" && apt-get -qq -o APT::Sandbox::User="$(id -un)" download "$package") || fail "could not fetch $package"
  dpkg-deb --fsys-tarfile "$work/kernel/$package"_*.deb | tar -x -C "$work/kernel" --wildcards './boot/vmlinuz-*'
  rm "$work/kernel/$package"_*.deb
fi

launcher=()
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
if ! { cmake --preset "$preset" -B "$work/$preset" "${launcher[@]}" -DTLR2_BENCH=ON \
         -DCMAKE_EXE_LINKER_FLAGS=-static &&
       cmake --build "$work/$preset" -j "$(nproc)" --target test_kernels bench_instruction_count &&
       gcc -O1 -Wall -Werror -static tools/dev/avx512_machine_init.c -o "$work/root/init"; } >"$work/build.log" 2>&1
then
  tail -n 30 "$work/build.log"
  exit 1
fi
strip -o "$work/root/test_kernels" "$work/$preset/tests/kernels/test_kernels"
strip -o "$work/root/instruction_count" "$work/$preset/bench/bench_instruction_count"

{
  [ "$tests" -eq 0 ] ||
    echo "TLR2_KERNEL_TILES=$tiles TLR2_KERNEL_PILES=$((tiles / 8 + 1)) /test_kernels" \
      "--gtest_filter=*/avx512skx:TargetChoice.* --gtest_brief=1 --gtest_color=no"
  [ "$counts" -eq 0 ] || echo "/instruction_count ${names[*]}"
} >"$work/root/jobs"
(cd "$work/root" && find . | cpio --quiet -o -H newc) >"$work/disc/isolinux/initrd"
cp "$work"/kernel/boot/vmlinuz-* "$work/disc/isolinux/vmlinuz"
cp /usr/lib/ISOLINUX/isolinux.bin /usr/lib/syslinux/modules/bios/ldlinux.c32 "$work/disc/isolinux/"
# The emulator misstates the size of the packed state area, so the plain one is asked for: otherwise the kernel takes
# the wide registers for unusable. It also reports the clock of the processor that it stands for; by the real one, of a
# turn an instruction, timers do not interrupt more often than they should.
cat >"$work/disc/isolinux/isolinux.cfg" <<END
default machine
prompt 0
label machine
  kernel vmlinuz
  initrd initrd
  append console=ttyS0,115200 quiet nokaslr nosmp mitigations=off nomodeset random.trust_cpu=on tsc=reliable tsc_early_khz=100000 noxsaves clearcpuid=xsaves,xsavec panic=-1
END
xorriso -as mkisofs -quiet -o "$work/disc.iso" -b isolinux/isolinux.bin -c isolinux/boot.cat -no-emul-boot \
  -boot-load-size 4 -boot-info-table "$work/disc" 2>"$work/disc.log" || { cat "$work/disc.log"; exit 1; }
# Unsynchronised, so that the time-stamp counter counts instructions. A start time in words or from the clock makes
# Debian's build of the emulator end itself.
cat >"$work/bochsrc" <<END
config_interface: textconfig
display_library: term
romimage: file=/usr/share/bochs/BIOS-bochs-latest
vgaromimage: file=/usr/share/vgabios/vgabios.bin
megs: 512
cpu: model=corei7_skylake_x, count=1, ips=100000000, reset_on_triple_fault=0, ignore_bad_msrs=1
clock: sync=none, time0=1700000000
sound: waveoutdrv=dummy
ata0-master: type=cdrom, path=$work/disc.iso, status=inserted
boot: cdrom
com1: enabled=1, mode=file, dev=$work/serial.txt
log: $work/bochs.log
panic: action=fatal
error: action=ignore
info: action=ignore
END
echo c >"$work/debugger"  # Debian's build waits in its debugger

rm -f "$work/serial.txt"
# The emulator wants a terminal. It ends with 1 when the machine switches itself off.
TERM=vt100 timeout -k 10 3600 script -qfc "bochs-bin -q -f '$work/bochsrc' -rc '$work/debugger'" /dev/null \
  </dev/null >"$work/terminal.txt" 2>&1 || true
if ! grep -q '^machine: begins' "$work/serial.txt" 2>/dev/null; then
  echo "avx512_machine: the machine did not start; see $work" >&2
  exit 1
fi
tr -d '\r' <"$work/serial.txt" | sed '1,/^machine: begins/d; /^\[ *[0-9.]*\] /d'
grep -q '^machine: passed' "$work/serial.txt"
