#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and runs with (as root, or through
# sudo). Packages already present are left alone, so this is quick on a prepared machine.
set -euo pipefail

packages=(
    cmake g++ make pkg-config
    qt6-base-dev qt6-qpa-plugins qt6-l10n-tools qt6-tools-dev qt6-tools-dev-tools
    libisal-dev zlib1g-dev libgtest-dev
    qt6-translations-l10n dpkg-dev file groff-base clang-format
    python3 python3-openpyxl python3-jsonschema unzip locales-all libreoffice-calc-nogui
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update
$sudo apt-get install -y --no-install-recommends "${missing[@]}"
