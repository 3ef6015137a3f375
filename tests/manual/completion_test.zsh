# Loads the completions of zsh (in MANUAL_FOLDER) with stand-ins for what only a completion under
# way offers, and looks at what they are given.
set -u

file=$MANUAL_FOLDER/_ifdsweep
zsh -n $file || exit 1

typeset -a entries
compdef() { defined="$*" }
_arguments() { entries=("$@") }
_describe() { offered=("${(@P)2}") }
compset() { before="$*" }
compadd() { offered=("${(@P)argv[-1]}") }
source $file || exit 1

failures=0
expect() {
    [[ "$2" == "$3" ]] && return
    print -r -- "$1: expected $2, got $3"
    failures=1
}

# entry_of OPTION: what _arguments is told of it.
entry_of() { print -rl -- "${(@M)entries:#(\*|\(*\)|)$1(=|+|)\[*}" }

_ifdsweep
expect compdef "_ifdsweep ifdsweep" "$defined"
expect --format '(-f --format)--format=[text: for reading (default); json: an array with an object per file, natural values; ndjson: the same objects, one per line; typed: a line of JSON per file, with the class and size of every value; csv: a table (RFC 4180), its rows as --rows says; facts: a line of JSON per entry: field type, position, exact value; packed: a block per file, for the Python package of the same version]:FORMAT:(text json ndjson typed csv facts packed)' "$(entry_of --format)"
expect -q '(-q --quiet)-q[no progress and no summary; files that fail are still told]' "$(entry_of -q)"
expect -j '(-j --jobs)-j+[worker processes (default: as many as there are cores)]:N: ' "$(entry_of -j)"
expect -t "${$(entry_of --tags)/--tags=/-t+}" "$(entry_of -t)"
expect --tags '*--tags=[only these fields, in this order: names in any case (see --list-tags), numbers (270, 0x10e) or patterns (gps*), in nested records too; others are neither read nor checked]:NAME,...:_ifdsweep_tags' "$(entry_of --tags)"
expect --strict '--strict[exit status 3 when a warning was given that is not ignored]' "$(entry_of --strict)"
expect --read-budget "--read-budget=[bytes that may be read of each file, with 64 for every jump, or \"unlimited\" (default: 256 KiB and 8 times the file's size)]:SIZE:(unlimited)" "$(entry_of --read-budget)"
expect paths '*:PATH:_files' "$entries[-1]"

names=(${(f)"$($PROGRAM --help | sed -n 's/^  \(-[a-z0], \|    \)\(--[a-z-]*\).*/\2/p')"})
shortNames=(${(f)"$($PROGRAM --help | sed -n 's/^  \(-[a-z0]\), .*/\1/p')"})
expect "number of options" $(($#names + $#shortNames)) $(($#entries - 3))
for name in $names $shortNames; do
    [[ -n $(entry_of $name) ]] || expect $name "an entry" none
done

_ifdsweep_tags
expect "before a tag" '-P *,' "$before"
# The fields and public tags, then the other names, which the list has behind them.
names=(${(f)"$($PROGRAM --list-tags | cut -f 2)"})
others=(${(f)"$($PROGRAM --list-tags | sed -n 's/.*\talso: //p' | sed 's/, /\n/g')"})
expect tags "${(F)names}
${(F)others}" "${(F)offered}"

_ifdsweep_messages
expect "a message" "the file does not exist" "${offered[(r)statFailure:*]#*:}"
exit $failures
