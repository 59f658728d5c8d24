#!/usr/bin/env bash
# Fails when the library's dynamic symbol table differs from the exported
# interface listed in the given file (demangled, one symbol a line): an extra
# symbol leaks an internal, a missing one breaks applications built earlier.
set -euo pipefail
library=$1
expected=$2

actual=$(nm -D --defined-only -C "$library" | cut -d' ' -f3- | LC_ALL=C sort -u)
wanted=$(grep -v '^#' "$expected" | grep -v '^$' | LC_ALL=C sort -u)

if [[ "$actual" == "$wanted" ]]; then
    echo "exported symbols: $(wc -l <<<"$actual") as listed"
    exit 0
fi
echo "exported symbols differ from $expected ('>' exported but not listed, '<' listed but missing):"
diff <(echo "$wanted") <(echo "$actual") | grep '^[<>]' || true
exit 1
