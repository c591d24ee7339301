#!/usr/bin/env bash
# Guards what the shipped module shows: exactly its exports, and nothing asked of any library but the host and the
# language's own.
#   exports_test.sh MODULE
set -euo pipefail
module=$1

expected="kzdxBlockReferenceMonitorAttach
kzdxBlockReferenceMonitorDetach
kzdxDocTimerAttach
kzdxGetBlockRecordIdsOfKzDbTables
kzdxGetKzDbTableIds
kzdxReadLegacyBlkTemplate
kzdxUpdateBlockGraph
kzrxEntryPoint
kzrxGetApiVersion"
shown=$(nm --dynamic --defined-only --format=posix "$module" | cut -d' ' -f1 | LC_ALL=C sort)
if [ "$shown" != "$expected" ]; then
  diff <(echo "$expected") <(echo "$shown") >&2
  echo "the module shows other symbols than its exports" >&2
  exit 1
fi

needed=$(readelf --dynamic "$module" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -vE '^(libstdc\+\+|libm|libgcc_s|libc|ld-linux-x86-64)\.so' || true)
if [ -n "$needed" ]; then
  echo "the module needs more than the standard library: $needed" >&2
  exit 1
fi
