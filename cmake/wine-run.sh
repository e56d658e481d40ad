#!/usr/bin/env bash
# Runs a Windows program of the build under Wine:
#
#   cmake/wine-run.sh PREFIX PROGRAM [ARGUMENTS...]
#
# PREFIX is the Wine prefix to use, a folder inside the build folder; it is
# created on first use (one runner creates it while others wait). Wine runs
# headless and quiet, and with its debugger disabled, so that a program that
# faults ends instead of waiting in a debugger. LC_ALL=C makes Wine's default
# ANSI code page (CP_ACP) 1252, the one the library's Linux build uses.
set -euo pipefail

if [ $# -lt 2 ]; then
  echo "usage: $0 PREFIX PROGRAM [ARGUMENTS...]" >&2
  exit 64
fi
# Wine takes only an absolute prefix.
prefix=$(realpath -m -- "$1")
shift

export WINEPREFIX=$prefix
export WINEDEBUG=-all
# winedbg disabled: a fault ends the process. mscoree and mshtml disabled: the
# prefix is made without asking to install Mono or Gecko, which nothing needs.
export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d"
export WINEARCH=win64
export LC_ALL=C
unset DISPLAY WAYLAND_DISPLAY

if [ ! -f "$prefix/system.reg" ]; then
  mkdir -p "$(dirname "$prefix")"
  (
    flock 9
    if [ ! -f "$prefix/system.reg" ]; then
      wineboot --init >/dev/null 2>&1
      # wineboot returns before the prefix is written out; the server's exit
      # is the sign that it is complete.
      wineserver --wait
    fi
  ) 9>"$prefix.lock"
fi

exec wine "$@"
