#!/bin/sh
# The qelon program's command line: help exits 0 and documents the options;
# every mistake exits 2 with a message that names it.
q="$1"
set -e
"$q" --help | grep -q save-demo
"$q" view --help | grep -q -- --exit-after
"$q" render --help | grep -q -- --size
while read -r bad; do
  s=0
  $q $bad 2>err.txt || s=$?
  if [ "$s" -ne 2 ] || ! [ -s err.txt ]; then echo "qelon $bad: exit $s"; exit 1; fi
  echo "qelon $bad: $(head -n 1 err.txt)"
done <<'LIST'
render --size 0x0
render --size 100000x100000
render --size 12
render missing.xml
info
info missing.xml
bogus
render --frob
view --frames 0
view --exit-after -1
LIST
rm -f err.txt
