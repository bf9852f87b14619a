#!/usr/bin/env bash
# Installs the Debian packages that the builds, the tests and the Wine rig need. Does nothing when all are there.
# Needs root or sudo only when something is missing.
set -euo pipefail

packages=(
  g++ cmake ninja-build ccache git python3 pkg-config
  g++-multilib g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix
  clang-19 libclang-rt-19-dev llvm-19 clang-tidy-19 clang-format-19
  googletest libbenchmark-dev libbenchmark-dev:i386 libcli11-dev nlohmann-json3-dev libpng-dev libstb-dev libsimde-dev spin
  libosmesa6 libosmesa6-dev libosmesa6:i386
  wine wine64 wine32:i386 xvfb xauth imagemagick xdotool fonts-wine fonts-liberation
  mesa-vulkan-drivers mesa-vulkan-drivers:i386 libvulkan1 libvulkan1:i386
  libgl1:i386 libgl1-mesa-dri:i386
  vkd3d-compiler spirv-tools
  chromium
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "packages.sh: missing ${missing[*]}, and neither root nor sudo to install them" >&2; exit 1; }
  as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
if ! dpkg --print-foreign-architectures | grep -qx i386; then "${as_root[@]}" dpkg --add-architecture i386; fi
for attempt in 1 2 3; do
  if "${as_root[@]}" apt-get update -qq; then break; fi
  # A mirror that is being brought up to date answers wrongly for a while; the lists it had may do all the same.
  sleep $((attempt * 5))
done
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
echo "packages.sh: installing ${#missing[@]} packages" >&2
# Where one architecture has newer versions than the other, holding both to the release is what resolves.
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null ||
  "${as_root[@]}" apt-get install -y -qq --no-install-recommends -t "$release" "${missing[@]}" >/dev/null
