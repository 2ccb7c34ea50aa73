#!/usr/bin/env bash
# Installs the Debian packages the build and tests need, if any are missing (apt-get; sudo when
# not root). Prints nothing when everything is there.
set -euo pipefail

packages=(
    cmake g++ make pkg-config
    googletest libgtest-dev libgmock-dev libbenchmark-dev
    android-liblog-dev android-libcutils-dev
    libpng-dev libyuv-dev
    clang libclang-rt-14-dev clang-format clang-tidy
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing packages: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
    sudo_cmd=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
