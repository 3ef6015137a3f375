# Asks fish for completions out of the file in MANUAL_FOLDER and compares its answers.
fish --no-execute $MANUAL_FOLDER/ifdsweep.fish; or exit 1
# fish offers files for a command that is there alone.
set PATH (dirname $PROGRAM) $PATH
source $MANUAL_FOLDER/ifdsweep.fish; or exit 1

set failures 0
function check --argument-names line expected
    set -l answer (complete -C $line | string replace -r '\t.*' '')
    if test "$answer" != "$expected"
        echo "completing: $line"
        printf '  expected  %s\n  got       %s\n' "$expected" "$answer"
        set -g failures 1
    end
end

check 'ifdsweep --fo' '--follow --format'
check 'ifdsweep --format nd' ndjson
check 'ifdsweep --format=nd' '--format=ndjson'
check 'ifdsweep -f nd' ndjson
check 'ifdsweep -fnd' -fndjson
check 'ifdsweep -qf nd' ndjson
check 'ifdsweep -t GPSLatitudeRef,DateTimeO' GPSLatitudeRef,DateTimeOriginal
check 'ifdsweep -tDateTimeO' -tDateTimeOriginal
check 'ifdsweep --warnings ' 'count each none'
check 'ifdsweep --tags Make' 'Make MakerNote MakerNoteSafety'
check 'ifdsweep --tags GPSLatitudeRef,DateTimeO' GPSLatitudeRef,DateTimeOriginal
check 'ifdsweep --tags Make,LensMod' Make,LensModel
check 'ifdsweep --tags PhotographicS' PhotographicSensitivity
check 'ifdsweep --explain timeo' timeout
check 'ifdsweep --ignore tagDataP' tagDataPastEOF
check 'ifdsweep --jobs ' ''
check 'ifdsweep --output '$MANUAL_FOLDER/ifdsweep.f $MANUAL_FOLDER/ifdsweep.fish
check 'ifdsweep '$MANUAL_FOLDER/ifdsweep.f $MANUAL_FOLDER/ifdsweep.fish

set offered (complete -C 'ifdsweep --' | string replace -r '\t.*' '' | sort)
set had ($PROGRAM --help | string match -rg '^  (?:-[a-z0], |    )(--[a-z-]*)' | sort)
if test "$offered" != "$had"
    echo "options: $offered, the program has $had"
    set failures 1
end
exit $failures
