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

mkdir -p "$corpus"/{read_image,read_region,deserialize,socket_receive,tuple_string,tuple_regexp,convol_text,read_dxf}
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

seed read_dxf polyline '0\nSECTION\n2\nENTITIES\n0\nPOLYLINE\n8\n0\n66\n1\n70\n1\n0\nVERTEX\n8\n0\n10\n1.5\n20\n2.5\n0\nVERTEX\n8\n0\n10\n10.0\n20\n2.5\n0\nVERTEX\n8\n0\n10\n10.0\n20\n9.0\n0\nSEQEND\n0\nENDSEC\n0\nEOF\n'
seed read_dxf lwpolyline '0\nSECTION\n2\nENTITIES\n0\nLWPOLYLINE\n8\n0\n90\n3\n70\n0\n10\n0.0\n20\n0.0\n10\n5.0\n20\n1.0\n10\n7.0\n20\n4.0\n0\nENDSEC\n0\nEOF\n'
seed read_dxf arcs '0\nSECTION\n2\nENTITIES\n0\nLINE\n8\n0\n10\n0\n20\n0\n11\n4\n21\n3\n0\nARC\n8\n0\n10\n5\n20\n5\n40\n2\n50\n0\n51\n90\n0\nCIRCLE\n8\n0\n10\n-3\n20\n4\n40\n1.5\n0\nENDSEC\n0\nEOF\n'
seed read_dxf arc_info '1\n0.0 0.0\n4.0 3.0\n8.5 -1.0\nEND\n2\n1 1\n2 2\nEND\nEND\n'
