#!/bin/sh
# The shared library defines exactly the functions that the public headers declare: every
# declared kels* function is exported, and nothing else is (no std:: templates, no helpers).
# usage: exports_match_header.sh LIBRARY INCLUDE_DIR C_COMPILER [OBJDUMP]
# With OBJDUMP the library is a Windows DLL: its export table is read, and decorated names
# (stdcall's @N) count as extra.
set -eu
lib=$1 inc=$2 cc=$3 objdump=${4:-}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

printf '#include <kelsr.h>\n' | "$cc" -E -P -I"$inc" -x c - \
  | grep -oE '\bkelsr?[A-Za-z0-9_]*[[:space:]]*\(' | sed 's/[[:space:](]//g' | sort -u >"$tmp/declared"
if [ -n "$objdump" ]; then
  "$objdump" -p "$lib" | sed -n '/Ordinal\/Name Pointer/,/^$/p' | sed -n 's/^[[:space:]]*\[ *[0-9]*\] //p' \
    | sort -u >"$tmp/exported"
else
  nm -D --defined-only "$lib" | awk 'NF >= 3 { print $3 }' | sed 's/@.*//' | sort -u >"$tmp/exported"
fi

status=0
if ! comm -23 "$tmp/declared" "$tmp/exported" >"$tmp/missing" || [ -s "$tmp/missing" ]; then
  echo "declared in the header but not exported:"; cat "$tmp/missing"; status=1
fi
if ! comm -13 "$tmp/declared" "$tmp/exported" >"$tmp/extra" || [ -s "$tmp/extra" ]; then
  echo "exported but not declared in the header:"; cat "$tmp/extra"; status=1
fi
echo "$(wc -l <"$tmp/declared") functions declared, $(wc -l <"$tmp/exported") symbols exported"
exit $status
