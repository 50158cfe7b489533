#!/bin/sh
# The demonstration: takes a system on a chip from its netlist to a database and back, and looks around in it.
#
#     demo.sh NYX SOURCE
#
# NYX is the built command, SOURCE the project's folder. Works in a new folder that it removes at the end.
set -eu

nyx=$(realpath "$1")
source=$(realpath "$2")
soc=$source/examples/soc/soc.json.zst
compare=$source/tests/io/canonical_netlist.py
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

run() {
    printf '\n$ nyx %s\n' "$*"
    "$nyx" "$@"
}

echo "A 32-bit RISC-V system on a chip, from the netlist that synthesis made of it:"
cp "$soc" soc.json.zst
run import soc.json.zst -o soc.nyx
run info soc.nyx
run tree soc.nyx
run info soc.nyx --counts
run find soc.nyx 'core/alu/result[3?]' --type port
run find soc.nyx 'core/ibus_addr[2]' --type net --connections --limit 1
run stats soc.nyx
run check soc.nyx
run export soc.nyx -f yosys-json -o back.json
run export soc.nyx -f verilog -o back.v
printf '\n$ canonical_netlist.py soc.json.zst back.json\n'
"$compare" soc.json.zst back.json
echo "What came out is what went in: $(wc -c <back.json) bytes of JSON, $(wc -l <back.v) lines of Verilog."
