#!/usr/bin/env bash
# Every command on a real terminal (a pty), as a person would call it, and every exit code.
#
# Usage: terminal.sh VELLUM PHOTO...      the program, and pictures to work on
set -uo pipefail

vellum=$1
photo=$2
other=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
mkdir 'scans ä'
cp -- "$photo" 'scans ä/one.jpg'
cp -- "$other" 'scans ä/two.jpg'
a='scans ä/one.jpg'
b='scans ä/two.jpg'
failures=0

complain() {
    echo "terminal.sh: $1" >&2
    failures=$((failures + 1))
}

# on_terminal CODE ARGUMENTS...: the command ends with CODE, and its bar with 100 %.
on_terminal() {
    local code=$1 line
    shift
    printf -v line '%q ' "$vellum" "$@"
    TERM=xterm script -qec "$line" typescript </dev/null >/dev/null
    local got=$?
    [ "$got" = "$code" ] || complain "$* ended with $got, not $code: $(tail -c 300 typescript)"
    grep -q '100% ' typescript || complain "$* showed no bar: $(tail -c 300 typescript)"
}

on_terminal 0 convert "$a" one.tif
on_terminal 0 convert --type png -o converted --jobs 2 "$a" "$b"
on_terminal 0 scale --width 300 "$a" small.png
on_terminal 0 thumbnail -s 64 -o thumbnails "$a" "$b"
on_terminal 0 crop --area 10,20,300,200 "$a" part.png
on_terminal 0 rotate --angle 3 "$a" turned.png
on_terminal 0 mirror --horizontal "$a" mirrored.png
on_terminal 0 paste "$a" part.png pasted.png 40 50
on_terminal 0 compare one.tif "$a"
on_terminal 6 compare part.png turned.png
on_terminal 0 pages join "$a" "$b" both.tif
on_terminal 0 pages split both.tif -o pages
on_terminal 0 channels --all "$a" -o channels

# code CODE ARGUMENTS...: the command ends with CODE.
code() {
    local code=$1
    shift
    "$vellum" "$@" >log 2>&1
    local got=$?
    [ "$got" = "$code" ] || complain "$* ended with $got, not $code: $(cat log)"
}

head -c 20000 "$a" >cut.jpg
code 0 info "$a"
code 0 profile "$("$vellum" convert --to-profile srgb "$a" srgb.png && echo srgb.png)"
code 1 convert "$a"
code 2 convert missing.jpg out.png
code 3 convert "$a" missing/out.png
code 4 --memory-limit 100K convert "$a" out.png
code 5 convert --keep-going cut.jpg kept.png
code 5 convert --type png -o partial "$a" cut.jpg
code 6 compare "$a" "$b"

mkfifo pipe.jpg # nobody writes to it: reading waits
"$vellum" convert --type png -o cancelled pipe.jpg "$a" 2>log &
job=$!
sleep 0.5
kill -TERM "$job" # background jobs of a script ignore SIGINT
wait "$job"
got=$?
[ "$got" = 130 ] || complain "a cancelled job ended with $got, not 130: $(cat log)"
[ ! -e cancelled/pipe.png ] || complain "a cancelled picture was written"

[ "$failures" = 0 ] && echo "every command and every exit code as documented"
exit $((failures > 0))
