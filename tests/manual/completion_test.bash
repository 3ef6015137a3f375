# Calls the completion function of bash (in MANUAL_FOLDER) as bash does and compares its answers.
set -u

bash -n "$MANUAL_FOLDER/ifdsweep.bash" || exit 1
source "$MANUAL_FOLDER/ifdsweep.bash" || exit 1
[[ $(complete -p ifdsweep) == "complete -F _ifdsweep ifdsweep" ]] || exit 1

failures=0
asked=()
# Outside of a completion, bash has nothing whose options could be set.
compopt() { asked+=("$*"); }

# check EXPECTED WORD…: the words as bash cuts the line, the last one under the cursor.
check() {
    local expected=$1
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    asked=()
    _ifdsweep
    local answer="${COMPREPLY[*]}${asked[*]:+ (${asked[*]})}"
    [[ $answer == "$expected" ]] && return
    echo "completing: $*"
    printf '  expected  %s\n  got       %s\n' "$expected" "$answer"
    failures=1
}

files=" (-o default)"
tags=" (-o nospace)"
check "--follow --format" ifdsweep --fo
check "--strict" ifdsweep --format json --stri
check "text json ndjson typed csv facts packed" ifdsweep --format ""
check "ndjson" ifdsweep --format nd
check "text json ndjson typed csv facts packed" ifdsweep --format =
check "text typed" ifdsweep --format = t
check "count" ifdsweep --warnings c
check "ndjson" ifdsweep -f nd
check "Make,GPSAltitudeRef$tags" ifdsweep -t Make,GPSAltitudeR
check "$files" ifdsweep -o ""
check "" ifdsweep -j ""
check "-f" ifdsweep -f
check "unlimited" ifdsweep --read-budget u
check "contract" ifdsweep --reading c
check "all" ifdsweep --max-value ""
check "Make MakerNote MakerNoteSafety$tags" ifdsweep --tags Make
check "GPSLatitudeRef,Make,DateTimeOriginal$tags" ifdsweep --tags GPSLatitudeRef,Make,DateTimeO
check "Make,GPSAltitudeRef$tags" ifdsweep --tags = Make,GPSAltitudeR
check "Make,LensModel$tags" ifdsweep --tags Make,LensMo
check "Height,ImageLength$tags" ifdsweep --tags Height,ImageLe
check "PhotographicSensitivity$tags" ifdsweep --tags = PhotographicS
check "timeout" ifdsweep --explain timeo
check "tagDataPastEOF" ifdsweep --ignore tagDataP
check "$files" ifdsweep --output ""
check "$files" ifdsweep --resume = j
check "$files" ifdsweep ""
check "$files" ifdsweep --nested arch
check "$files" ifdsweep -- --fo
check "" ifdsweep --jobs ""
check "" ifdsweep --nothing-of-this-name

# Every option that the program has is offered.
COMP_WORDS=(ifdsweep --)
COMP_CWORD=1
_ifdsweep
offered=$(printf '%s\n' "${COMPREPLY[@]}" | sort)
# Each option's line of the help begins with two spaces, and the name may stand behind a short one.
had=$("$PROGRAM" --help | sed -n 's/^  \(-[a-z0], \|    \)\(--[a-z-]*\).*/\2/p' | sort)
short=$("$PROGRAM" --help | sed -n 's/^  \(-[a-z0]\), .*/\1/p' | sort)
COMP_WORDS=(ifdsweep -)
_ifdsweep
allOffered=$(printf '%s\n' "${COMPREPLY[@]}" | grep -v ^-- | sort)
[[ $allOffered == "$short" ]] || { echo "short options: $allOffered, not $short" && failures=1; }
[[ $offered == "$had" ]] || { echo "options: $offered, the program has $had" && failures=1; }
exit $failures
