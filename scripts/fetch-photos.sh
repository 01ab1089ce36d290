#!/usr/bin/env bash
# Fetches a few real photographs for the demo and the golden tests: the
# sample images that Debian's scikit-image package ships, taken from the
# package file with apt-get download and dpkg-deb, nothing installed
# system-wide. Prints the folder; exits 0 with an empty folder when the
# package cannot be had (callers then fall back to synthetic images).
set -uo pipefail
dest=${1:-"$(cd "$(dirname "$0")/.." && pwd)/build/photos"}
mkdir -p "$dest"
photos=(astronaut.png chelsea.png coffee.png rocket.jpg)
have_all=1
for p in "${photos[@]}"; do [ -s "$dest/$p" ] || have_all=0; done
if [ "$have_all" = 0 ]; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  download() { (cd "$work" && apt-get download python3-skimage >/dev/null 2>&1); }
  # A fresh machine may have no package lists yet: refresh them once.
  if ! download && [ "$(id -u)" -eq 0 ]; then apt-get update -qq >/dev/null 2>&1 || true; fi
  if ls "$work"/python3-skimage_*.deb >/dev/null 2>&1 || download; then
    dpkg-deb -x "$work"/python3-skimage_*.deb "$work/x" 2>/dev/null
    for p in "${photos[@]}"; do
      f=$(find "$work/x" -path "*/skimage/data/$p" | head -n 1)
      [ -n "$f" ] && cp "$f" "$dest/$p"
    done
  else
    echo "sample photographs not available; synthetic images will be used" >&2
  fi
fi
echo "$dest"
