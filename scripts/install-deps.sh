#!/usr/bin/env bash
# Installs the Debian packages the library, its tools and its tests build against.
# Idempotent and non-interactive: does nothing when every package is present, and
# refreshes the package lists only when something has to be installed.
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config clang-format
    libcurl4-openssl-dev nlohmann-json3-dev libsimdjson-dev libcpp-httplib-dev libicu-dev openssl
    libfreetype-dev libfontconfig-dev uuid-dev libstb-dev libpango1.0-dev libcairo2-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    fonts-roboto fonts-dejavu-core
    libgumbo-dev
    libgtk-4-dev libwebkitgtk-6.0-dev xvfb xauth
)
if [[ "${QUILLGATE_FUZZ:-0}" == "1" ]]; then
    packages+=(clang libclang-rt-dev)
fi
# The browser that opens `preview --html`'s contact sheet in one test (skipped without it):
# about a minute to install, so only on request.
if [[ "${QUILLGATE_CHROMIUM:-0}" == "1" ]]; then
    packages+=(chromium)
fi

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi

sudo=""
if [[ $(id -u) -ne 0 ]]; then
    sudo="sudo"
fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
