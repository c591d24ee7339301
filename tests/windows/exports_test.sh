#!/usr/bin/env bash
# Guards what the shipped module shows and asks for: exactly its exports, the host's libraries and the system's own.
#   exports_test.sh MODULE OBJDUMP
set -euo pipefail
expected="kzdxBlockReferenceMonitorAttach kzdxBlockReferenceMonitorDetach kzdxDocTimerAttach \
kzdxGetBlockRecordIdsOfKzDbTables kzdxGetKzDbTableIds kzdxReadLegacyBlkTemplate kzdxUpdateBlockGraph kzrxEntryPoint \
kzrxGetApiVersion"
tables=$("$2" --private-headers "$1")
shown=$(sed -n '/Ordinal\/Name Pointer/,/^$/s/^\t\[.*\] //p' <<<"$tables" | LC_ALL=C sort | xargs)
needed=$(sed -n 's/.*DLL Name: //p' <<<"$tables" | tr '[:upper:]' '[:lower:]' | LC_ALL=C sort | xargs)
[ "$shown" = "$expected" ] || { echo "the module shows: $shown" >&2; exit 1; }
[ "$needed" = "kernel32.dll kz1st19.dll kzcore.dll kzdb19.dll msvcrt.dll user32.dll" ] ||
  { echo "the module needs: $needed" >&2; exit 1; }
