#!/usr/bin/env bash
# install.sh CMAKE BUILD PREFIX: installs into another folder than PREFIX and moves it there, so that
# nothing installed can depend on where it was put first.
set -euo pipefail

rm -rf "$3" "$3.first"
"$1" --install "$2" --prefix "$3.first"
mv "$3.first" "$3"
