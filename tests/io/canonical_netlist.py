#!/usr/bin/env python3
"""Compares netlists in Yosys' JSON format, whatever the numbers of their bits and the order of their parts.

    canonical_netlist.py A.json B.json      prints the differences; exit code 0 if there are none, else 1
    canonical_netlist.py --counts A.json    prints what each module consists of, a JSON object by module

Files may be packed by gzip or zstd. This program shares no code with the reader and the writer that it checks.
"""
import gzip
import json
import subprocess
import sys


def load(path):
    with open(path, "rb") as file:
        start = file.read(4)
    if start[:2] == b"\x1f\x8b":
        with gzip.open(path) as file:
            return json.load(file)
    if start == b"\x28\xb5\x2f\xfd":
        return json.loads(subprocess.run(["zstd", "-dcq", path], check=True, stdout=subprocess.PIPE).stdout)
    with open(path, "rb") as file:
        return json.load(file)


class CANONICAL:
    """The parts of one module with each bit replaced by the list of all the places that it is at."""

    def __init__(self, module):
        self.places = {}
        for kind, places in self.walk(module):
            for place, bits in places:
                for index, bit in enumerate(bits):
                    if not isinstance(bit, str):
                        self.places.setdefault(bit, []).append((kind, place, index))
        # A bit is known by the first of its sorted places; two bits never share a place.
        names = {bit: min(at) for bit, at in self.places.items()}
        self.result = {}
        for kind, places in self.walk(module):
            for place, bits in places:
                self.result[(kind, place)] = [bit if isinstance(bit, str) else names[bit] for bit in bits]

    @staticmethod
    def walk(module):
        yield "port", [((name,), port["bits"]) for name, port in module.get("ports", {}).items()]
        yield "name", [((name,), net["bits"]) for name, net in module.get("netnames", {}).items()]
        yield "pin", [((name, port), bits) for name, cell in module.get("cells", {}).items()
                      for port, bits in cell.get("connections", {}).items()]


def parts_of(module):
    """Everything about a module but its bits, by place."""
    parts = {("module", "attributes"): module.get("attributes", {}),
             ("module", "parameters"): module.get("parameter_default_values", {}),
             ("module", "memories"): module.get("memories", {})}
    for name, port in module.get("ports", {}).items():
        parts["port", name] = {key: value for key, value in port.items() if key != "bits"}
    for name, net in module.get("netnames", {}).items():
        parts["name", name] = {key: value for key, value in net.items() if key != "bits"}
    for name, cell in module.get("cells", {}).items():
        parts["cell", name] = {key: value for key, value in cell.items() if key not in ("connections", "model")}
    return parts


def compare_dicts(what, a, b, report):
    for key in sorted(a.keys() | b.keys(), key=str):
        if key not in b:
            report(f"{what}: {key} is only in the first")
        elif key not in a:
            report(f"{what}: {key} is only in the second")
        elif a[key] != b[key]:
            report(f"{what}: {key}: {str(a[key])[:300]} against {str(b[key])[:300]}")


def compare(first, second):
    differences = []
    a, b = first["modules"], second["modules"]
    for name in sorted(a.keys() | b.keys()):
        if name not in a or name not in b:
            differences.append(f"module {name} is only in the {'first' if name in a else 'second'}")
            continue
        compare_dicts(f"module {name}", parts_of(a[name]), parts_of(b[name]), differences.append)
        compare_dicts(f"module {name}", CANONICAL(a[name]).result, CANONICAL(b[name]).result, differences.append)
        order = [[list(m["modules"][name].get(part, {})) for part in ("ports", "cells")] for m in (first, second)]
        if order[0] != order[1]:
            differences.append(f"module {name}: ports or cells come in another order")
    return differences


def count(netlist):
    modules = netlist["modules"]
    result = {}
    for name, module in modules.items():
        cells = module.get("cells", {}).values()
        names = module.get("netnames", {}).values()
        ports = module.get("ports", {}).values()
        pins = [bits for cell in cells for bits in cell.get("connections", {}).values()]
        is_black_box = {key: int(modules[key].get("attributes", {}).get("blackbox", "0"), 2) for key in modules}
        hier = sum(1 for cell in cells if cell["type"] in modules and not is_black_box[cell["type"]])
        bits = {bit for part in (ports, names) for entry in part for bit in entry["bits"]}
        bits |= {bit for pin in pins for bit in pin}
        result[name] = {
            "cells": len(cells), "hier_cells": hier, "leaf_cells": len(cells) - hier,
            "names": len(names), "name_bits": sum(len(net["bits"]) for net in names),
            "nets": sum(1 for bit in bits if not isinstance(bit, str)),
            "ports": len(ports), "port_bits": sum(len(port["bits"]) for port in ports),
            "pins": len(pins), "open_pins": sum(1 for pin in pins if not pin),
            "pin_bits": sum(map(len, pins)),
            "constant_pin_bits": sum(isinstance(bit, str) for pin in pins for bit in pin),
            "cell_parameters": sum(len(cell.get("parameters", {})) for cell in cells),
            "cell_attributes": sum(len(cell.get("attributes", {})) for cell in cells),
            "net_attributes": sum(len(net.get("attributes", {})) for net in names),
        }
    return result


def main(arguments):
    if len(arguments) == 2 and arguments[0] == "--counts":
        json.dump(count(load(arguments[1])), sys.stdout, indent=1, sort_keys=True)
        print()
        return 0
    if len(arguments) != 2:
        sys.exit(__doc__)
    differences = compare(*map(load, arguments))
    for difference in differences[:100]:
        print(difference)
    if len(differences) > 100:
        print(f"... and {len(differences) - 100} more")
    return 1 if differences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
