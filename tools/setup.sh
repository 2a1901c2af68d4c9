#!/bin/sh
# Installs the Debian packages of packages.txt that are missing; seconds where none is.
set -eu
cd "$(dirname "$0")/.."
missing=
for package in $(sed 's/#.*//' packages.txt); do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
done
[ -z "$missing" ] && exit 0
echo "installing$missing"
if [ "$(id -u)" = 0 ]; then as_root=; elif command -v sudo >/dev/null; then as_root=sudo; else
  echo "setup: these packages are missing and only root can install them:$missing" >&2
  exit 1
fi
$as_root apt-get update -qq
# shellcheck disable=SC2086  # one word a package
DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
