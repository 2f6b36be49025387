#!/usr/bin/env bash
# Checks the dynamic symbol table of the built library: every public class and the four
# constants are exported, with the vtables and type information that plug-ins derive from,
# and nothing else is (no internal helper, no standard library code).
set -euo pipefail
lib=${1:?usage: check-exports.sh path/to/libTessarine.so}

symbols=$(nm -DC --defined-only "$lib" | cut -c20-)
status=0

unexpected=$(grep -v -E '^(typeinfo for |typeinfo name for |vtable for )?Tessarine::|^PLUGIN_' <<<"$symbols" |
    grep -v -E '^(_init|_fini)$' || true)
internal=$(grep -E 'anonymous namespace|char_2_wchar|__assert_fail|::(FileCloser|NameOrder)::|::(keep|newText|sectionNamed|storeProperty|addEmptyElement)\(' <<<"$symbols" || true)
if [ -n "$unexpected$internal" ]; then
    echo "unexpected exported symbols:"
    printf '%s\n' "$unexpected" "$internal" | sed '/^$/d'
    status=1
fi

for name in Plugin Expression ExpressionPool String StringVector VectorString IniFileReader \
    Configuration UnknownSoftwareRepository; do
    grep -q -E "^Tessarine::$name::" <<<"$symbols" || { echo "missing: class $name"; status=1; }
done
for name in PLUGIN_RESULT_TRUE PLUGIN_RESULT_FALSE PLUGIN_EXTENSION PLUGIN_PATH_SEPARATOR \
    'Tessarine::Configuration::m_Configurations' 'Tessarine::VectorString::SEPARATOR' \
    'Tessarine::VectorString::ESCAPE' 'vtable for Tessarine::Plugin' \
    'typeinfo for Tessarine::Plugin' 'vtable for Tessarine::Expression' \
    'typeinfo for Tessarine::Expression'; do
    grep -q -x -F "$name" <<<"$symbols" || { echo "missing: $name"; status=1; }
done

[ $status -eq 0 ] && echo "exports: $(wc -l <<<"$symbols") symbols, all public"
exit $status
