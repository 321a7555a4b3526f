#!/usr/bin/env bash
# Writes the seed corpus of every fuzz target into fuzz/corpus/<target>/:
# image and region files, serialised items and socket frames through the
# runtime's own writers (the fuzz_make_corpus program of a fuzz build),
# texts from here.
# Usage: fuzz/make_corpus.sh BUILD_DIR
set -euo pipefail
build=${1:?usage: $0 BUILD_DIR}
here=$(cd "$(dirname "$0")" && pwd)
corpus=$here/corpus

mkdir -p "$corpus"/{read_image,read_region,deserialize,socket_receive,tuple_string,tuple_regexp,convol_text}
"$build"/fuzz/fuzz_make_corpus "$corpus/read_image" "$corpus/read_region" "$corpus/deserialize" \
  "$corpus/socket_receive"

# seed DIR NAME TEXT: one seed file; TEXT goes through printf, so \0
# separates the strings of one input.
seed() { printf -- "$3" > "$corpus/$1/$2"; }

seed tuple_string int '42\0%%5d'
seed tuple_string hex '0x1F\0%%#x'
seed tuple_string real '-1.5e-3\0%%10.4f'
seed tuple_string exp ' 7e308\0%%g'
seed tuple_string text 'abc\0-20s'
seed tuple_string split 'a,b,,c\0,'

seed tuple_regexp match 'image_0042.png\0([a-z]+)_(\\d+)\0'
seed tuple_regexp options 'ABC\0[a-c]+\0'
seed tuple_regexp replace 'one two\0(\\w+) (\\w+)\0$2 $1'
seed tuple_regexp anchors 'line\nnext\0^n.*$\0x'

seed convol_text box3 '\x03\x03\x09'"1 1 1 1 1 1 1 1 1"
seed convol_text sobel '\x03\x03\x01'"-1 0 1 -2 0 2 -1 0 1"
seed convol_text sum '\x05\x01\x00'"1 2 3 2 1"
