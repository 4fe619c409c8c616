#!/usr/bin/env bash
# Installs the Debian packages Pivotel builds and tests with, only those that are missing.
set -euo pipefail

packages=(
    build-essential cmake pkg-config
    qt6-base-dev qt6-svg-dev qt6-image-formats-plugins libxkbcommon-dev fonts-dejavu-core
    libturbojpeg0-dev libjpeg62-turbo-dev libjpeg-turbo-progs
    libexempi-dev libcurl4-openssl-dev
    libopencv-core-dev libopencv-imgproc-dev libopencv-objdetect-dev opencv-data opencv-doc
    libtesseract-dev tesseract-ocr-osd
    libimage-exiftool-perl clang-tidy
    desktop-file-utils appstream man-db
    googletest libgtest-dev
    openssl python3 poppler-utils
    xvfb xauth
)
if [ "${1:-}" = "--bench" ]; then
    packages+=(imagemagick hyperfine exiftran jhead xdotool fonts-droid-fallback)
fi

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing Debian packages: ${missing[*]}"
sudo=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Need root (or sudo) to install: ${missing[*]}" >&2; exit 1; }
    sudo=(sudo)
fi
"${sudo[@]}" apt-get update
DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
