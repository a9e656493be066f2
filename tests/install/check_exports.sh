#!/usr/bin/env bash
# Every dynamic symbol libflower defines must be named in a public header:
# C functions and data by their own name, C++ members by their class or
# namespace. Anything else is an internal helper that leaked.
set -euo pipefail
lib=$1 api=$2
headers=$(cat "$api"/*.h)
declared() { grep -qw -- "$1" <<<"$headers"; }

leaks=0
while read -r _ _ raw; do
  name=$(c++filt <<<"$raw")
  case $name in
    _init|_fini|_edata|_end|__bss_start) continue ;;
  esac
  # "vtable for X", "typeinfo for X", "ns::Class::member(args)" -> the owners.
  name=${name#vtable for }; name=${name#typeinfo for }; name=${name#typeinfo name for }
  name=${name%%(*}
  ok=1
  IFS=':' read -ra parts <<<"${name// /}"
  for part in "${parts[@]}"; do
    [ -z "$part" ] && continue
    part=${part#~}
    declared "$part" || { ok=0; break; }
  done
  if [ $ok = 0 ]; then
    echo "exported but not declared in API/: $raw ($name)"
    leaks=1
  fi
done < <(nm -D --defined-only "$lib")
exit $leaks
