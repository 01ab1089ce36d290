#!/usr/bin/env bash
# Installs the named Debian packages that are not installed yet, and only
# those; does nothing when all are there. A package of another processor
# (name:arm64) first enables that architecture. Needs root, or sudo, when
# something is missing. Waits for a dpkg lock another install holds.
#   scripts/apt-install.sh PACKAGE...
set -euo pipefail
missing=()
for p in "$@"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
((${#missing[@]})) || exit 0
echo "installing: ${missing[*]}" >&2
sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
for p in "${missing[@]}"; do
  case "$p" in
    *:*) arch=${p##*:}
         dpkg --print-foreign-architectures | grep -qx "$arch" || $sudo dpkg --add-architecture "$arch" ;;
  esac
done
lock=(-o DPkg::Lock::Timeout=600)
$sudo apt-get update -qq "${lock[@]}"
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${lock[@]}" "${missing[@]}" >/dev/null
