#!/usr/bin/env python3
"""Writes a synthetic IP library for the catalog benchmark: bus and abstraction definitions,
components with memory maps and bus interfaces, and designs instancing the components. Every
reference resolves except a chosen number that name documents which are not written.

    bench/make_catalog.py DIR [--documents 10000] [--dangling 300]
"""
import argparse
import os
import random

SPIRIT = 'xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"'
VENDOR = "acme.example.com"


def vlnv(library, name):
    return (f"  <spirit:vendor>{VENDOR}</spirit:vendor>\n  <spirit:library>{library}</spirit:library>\n"
            f"  <spirit:name>{name}</spirit:name>\n  <spirit:version>1.0</spirit:version>\n")


def ref(element, library, name):
    return (f'<spirit:{element} spirit:vendor="{VENDOR}" spirit:library="{library}" '
            f'spirit:name="{name}" spirit:version="1.0"/>')


def bus_definition(name):
    return (f'<?xml version="1.0" encoding="UTF-8"?>\n<spirit:busDefinition {SPIRIT}>\n{vlnv("buses", name)}'
            "  <spirit:directConnection>true</spirit:directConnection>\n"
            "  <spirit:isAddressable>true</spirit:isAddressable>\n</spirit:busDefinition>\n")


def abstraction_definition(name, bus):
    ports = "".join(f"    <spirit:port>\n      <spirit:logicalName>{p}</spirit:logicalName>\n"
                    "      <spirit:wire>\n        <spirit:onMaster><spirit:presence>required</spirit:presence>"
                    "</spirit:onMaster>\n      </spirit:wire>\n    </spirit:port>\n"
                    for p in ("PSEL", "PENABLE", "PWRITE", "PADDR", "PWDATA", "PRDATA", "PREADY"))
    return (f'<?xml version="1.0" encoding="UTF-8"?>\n<spirit:abstractionDefinition {SPIRIT}>\n'
            f'{vlnv("buses", name)}  {ref("busType", "buses", bus)}\n  <spirit:ports>\n{ports}'
            "  </spirit:ports>\n</spirit:abstractionDefinition>\n")


def component(name, buses, rng):
    interfaces = ""
    for i, bus in enumerate(buses):
        interfaces += (f"    <spirit:busInterface>\n      <spirit:name>if{i}</spirit:name>\n"
                       f"      {ref('busType', 'buses', bus)}\n      {ref('abstractionType', 'buses', bus + '_rtl')}\n"
                       "      <spirit:slave>\n        <spirit:memoryMapRef spirit:memoryMapRef=\"regs\"/>\n"
                       "      </spirit:slave>\n    </spirit:busInterface>\n")
    registers = ""
    for r in range(rng.randint(4, 24)):
        fields = "".join(f"          <spirit:field>\n            <spirit:name>f{f}</spirit:name>\n"
                         f"            <spirit:bitOffset>{f * 8}</spirit:bitOffset>\n"
                         "            <spirit:bitWidth>8</spirit:bitWidth>\n"
                         "            <spirit:access>read-write</spirit:access>\n          </spirit:field>\n"
                         for f in range(4))
        registers += (f"        <spirit:register>\n          <spirit:name>r{r}</spirit:name>\n"
                      f"          <spirit:addressOffset>0x{r * 4:x}</spirit:addressOffset>\n"
                      f"          <spirit:size>32</spirit:size>\n{fields}        </spirit:register>\n")
    return (f'<?xml version="1.0" encoding="UTF-8"?>\n<spirit:component {SPIRIT}>\n{vlnv("ip", name)}'
            f"  <spirit:busInterfaces>\n{interfaces}  </spirit:busInterfaces>\n"
            "  <spirit:memoryMaps>\n    <spirit:memoryMap>\n      <spirit:name>regs</spirit:name>\n"
            "      <spirit:addressBlock>\n        <spirit:name>block</spirit:name>\n"
            "        <spirit:baseAddress>0x0</spirit:baseAddress>\n        <spirit:range>4096</spirit:range>\n"
            f"        <spirit:width>32</spirit:width>\n{registers}      </spirit:addressBlock>\n"
            "    </spirit:memoryMap>\n  </spirit:memoryMaps>\n</spirit:component>\n")


def design(name, components):
    instances = "".join(f"    <spirit:componentInstance>\n      <spirit:instanceName>u{i}</spirit:instanceName>\n"
                        f"      {ref('componentRef', 'ip', c)}\n    </spirit:componentInstance>\n"
                        for i, c in enumerate(components))
    return (f'<?xml version="1.0" encoding="UTF-8"?>\n<spirit:design {SPIRIT}>\n{vlnv("designs", name)}'
            f"  <spirit:componentInstances>\n{instances}  </spirit:componentInstances>\n</spirit:design>\n")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("directory")
    parser.add_argument("--documents", type=int, default=10000)
    parser.add_argument("--dangling", type=int, default=300)
    args = parser.parse_args()
    rng = random.Random(1685)
    buses = max(2, args.documents // 100)
    designs = max(1, args.documents // 20)
    components = args.documents - 2 * buses - designs
    bus_names = [f"bus{i}" for i in range(buses)]
    component_names = [f"c{i}" for i in range(components)]
    # Dangling references name documents that are never written: half are bus types, half instances.
    dangling_buses = set(rng.sample(range(components), args.dangling // 2))
    dangling_instances = set(rng.sample(range(designs), min(designs, args.dangling - args.dangling // 2)))

    def write(path, text):
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as out:
            out.write(text)

    root = args.directory
    for i, bus in enumerate(bus_names):
        write(f"{root}/buses/{bus}.xml", bus_definition(bus))
        write(f"{root}/buses/{bus}_rtl.xml", abstraction_definition(bus + "_rtl", bus))
    for i, name in enumerate(component_names):
        on = rng.sample(bus_names, 2)
        if i in dangling_buses:
            on[1] = "missing_bus"
        write(f"{root}/ip/{i // 1000:02d}/{name}.xml", component(name, on, rng))
    for d in range(designs):
        used = rng.sample(component_names, min(10, len(component_names)))
        if d in dangling_instances:
            used[0] = "missing_component"
        write(f"{root}/designs/soc{d}.xml", design(f"soc{d}", used))


if __name__ == "__main__":
    main()
