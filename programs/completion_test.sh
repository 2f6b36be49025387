#!/usr/bin/env bash
# Drives a program's bash completion the way bash does when Tab is pressed, in a bash that is
# not interactive: the completion must be registered for the program, complete an option from
# what the program's --help lists, and complete a file name where the program expects a file:
# after the WORDs given, e.g. the command of a program whose first word names one.
#   usage: completion_test.sh BASH_COMPLETION COMPLETION PROGRAM [WORD...]
set -uo pipefail
helpers=$1 completion=$2 program=$3
shift 3
before=("$@")
name=$(basename "$program")

# shellcheck source=/dev/null
source "$helpers"
# shellcheck source=/dev/null
source "$completion"
cd "$(mktemp -d)" || exit 1
trap 'rm -rf "$PWD"' EXIT
touch "settings file.ini"
mkdir settings.d

status=0
# Completes the last word of the command line "PROGRAM WORD..." and compares the candidates.
expect() {
    local expected=$1
    shift
    COMP_WORDS=("$program" "$@")
    COMP_CWORD=$#
    COMP_LINE="${COMP_WORDS[*]}"
    COMP_POINT=${#COMP_LINE}
    COMPREPLY=()
    "$function" "$program" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    local got
    got=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | paste -sd '|')
    if [ "$got" != "$expected" ]; then
        echo "FAIL: $name $*<Tab> offers '$got', expected '$expected'"
        status=1
    fi
}

function=$(complete -p "$name" 2>/dev/null | sed -n 's/.* -F \([^ ]*\) .*/\1/p')
if [ -z "$function" ]; then
    echo "FAIL: no completion function registered for $name"
    exit 1
fi
expect "--version" --vers
expect "settings file.ini|settings.d" "${before[@]}" sett
exit $status
