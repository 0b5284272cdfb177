#!/usr/bin/env python3
"""Writes a synthetic IEEE 1685-2009 spirit:component of about the requested size.

The document is shaped like a large SoC register map: most of its bytes are memory maps
(address blocks, registers, fields, reset values, enumerated values), the rest bus
interfaces with port maps, wire ports with vectors, views, file sets, parameters and
vendor extensions in foreign namespaces. Every cross-reference the schema declares as a
key (port names, memory map names, address spaces, views, file sets, choices, remap
states, master interfaces) points at something that exists, so the output is valid
against the official schema, identity constraints included.

Sizes are in MB of 10**6 bytes; the result lands within a few percent of the request.
The same --seed always gives the same bytes.
"""

import argparse
import random
import sys

SPIRIT_URI = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
VORLIX_URI = "http://www.vorlix.com/XMLSchema/ipxact/1.0"
ACME_URI = "http://example.com/acme"

# Share of the document given to each part; the memory maps take what the others leave.
INTERFACE_AND_PORT_SHARE = 0.14
FILE_SET_SHARE = 0.05
MODEL_PARAMETER_SHARE = 0.015
COMPONENT_PARAMETER_SHARE = 0.01

PROTOCOLS = {
    # name: (signals as (logical name, direction seen from a slave, width)), mode mix
    "apb": [("PADDR", "in", 32), ("PSEL", "in", 1), ("PENABLE", "in", 1), ("PWRITE", "in", 1),
            ("PWDATA", "in", 32), ("PSTRB", "in", 4), ("PREADY", "out", 1), ("PRDATA", "out", 32),
            ("PSLVERR", "out", 1)],
    "axi4lite": [("AWADDR", "in", 32), ("AWPROT", "in", 3), ("AWVALID", "in", 1), ("AWREADY", "out", 1),
                 ("WDATA", "in", 32), ("WSTRB", "in", 4), ("WVALID", "in", 1), ("WREADY", "out", 1),
                 ("BRESP", "out", 2), ("BVALID", "out", 1), ("BREADY", "in", 1), ("ARADDR", "in", 32),
                 ("ARPROT", "in", 3), ("ARVALID", "in", 1), ("ARREADY", "out", 1), ("RDATA", "out", 32),
                 ("RRESP", "out", 2), ("RVALID", "out", 1), ("RREADY", "in", 1)],
    "ahb": [("HADDR", "in", 32), ("HTRANS", "in", 2), ("HWRITE", "in", 1), ("HSIZE", "in", 3),
            ("HBURST", "in", 3), ("HPROT", "in", 4), ("HWDATA", "in", 32), ("HSELx", "in", 1),
            ("HRDATA", "out", 32), ("HREADY", "in", 1), ("HREADYOUT", "out", 1), ("HRESP", "out", 1)],
    "irq": [("IRQ", "out", 1)],
    "clock": [("CLK", "in", 1)],
    "reset": [("RST_N", "in", 1)],
}

REGISTER_STEMS = ["CTRL", "STATUS", "IRQ_EN", "IRQ_STAT", "CFG", "DATA", "FIFO_LVL", "TIMER", "PRESCALE",
                  "MODE", "ADDR_LO", "ADDR_HI", "DMA_CTRL", "CRC", "VERSION", "SCRATCH", "THRESH", "COUNT"]
FIELD_STEMS = ["EN", "MODE", "START", "BUSY", "DONE", "ERR", "IE", "LEVEL", "SEL", "DIV", "CNT", "OVF",
               "PAR", "STOP", "LEN", "CLR", "FLAG", "RSVD_OK", "PRIO", "SRC"]
ENUM_STEMS = ["DISABLED", "ENABLED", "IDLE", "ACTIVE", "SLOW", "FAST", "LOW", "HIGH", "AUTO", "MANUAL"]
ACCESS = ["read-write", "read-write", "read-write", "read-only", "read-only", "write-only", "writeOnce",
          "read-writeOnce"]
MODIFIED_WRITE = ["oneToClear", "oneToSet", "oneToToggle", "zeroToClear", "clear", "set", "modify"]
DESCRIPTIONS = [
    "Write 1 to clear; reads return the latched state & the live input.",
    "Bits <31:16> are reserved and read as zero.",
    "Counts cycles while the block is \"busy\"; wraps at the maximum.",
    "Selects the clock source; changing it while EN=1 has no effect.",
    "Threshold in \u00b5s before the watchdog fires (range 1\u20134095).",
    "Holds the last value written by software.",
    "Set by hardware when the FIFO is full, cleared on read.",
    "Interrupt enable for the corresponding status bit.",
]
FILE_TYPES = ["verilogSource", "systemVerilogSource", "vhdlSource", "cSource", "cppSource", "tclSource", "SDC"]


def escape_text(text):
    return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")


def escape_attribute(text):
    return escape_text(text).replace('"', "&quot;")


class Ids:
    """xs:ID values share one space across the document, so every kind draws from one counter."""

    def __init__(self):
        self.next = 0

    def take(self, prefix):
        self.next += 1
        return f"{prefix}_{self.next}"


class Emitter:
    """Collects text; tracks how many bytes it holds so parts can be sized against a budget."""

    def __init__(self):
        self.parts = []
        self.size = 0

    def add(self, text):
        self.parts.append(text)
        self.size += len(text)  # characters; the few non-ASCII ones make this a close under-estimate

    def text(self):
        return "".join(self.parts)


class StreamEmitter(Emitter):
    """An emitter that hands its text to a binary file in large chunks."""

    CHUNK = 1 << 20

    def __init__(self, stream):
        super().__init__()
        self.stream = stream
        self.pending = 0
        self.written = 0

    def add(self, text):
        self.parts.append(text)
        self.size += len(text)
        self.pending += len(text)
        if self.pending >= self.CHUNK:
            self.flush()

    def flush(self):
        data = "".join(self.parts).encode("utf-8")
        self.stream.write(data)
        self.written += len(data)
        self.parts = []
        self.pending = 0


def simple(ind, name, value, attributes=""):
    return f"{ind}<spirit:{name}{attributes}>{value}</spirit:{name}>\n"


def hex32(value):
    return f"0x{value & 0xFFFFFFFF:08X}"


class ComponentWriter:
    def __init__(self, rng, target_bytes):
        self.rng = rng
        self.target = target_bytes
        self.ids = Ids()
        self.views = []
        self.file_sets = []
        self.ports = []          # (name, direction, width)
        self.interfaces = []     # (name, mode)
        self.memory_map_names = []
        self.address_spaces = ["cpu_space", "dma_space"]
        self.choices = {"bus_width_choice": ["32", "64", "128"], "endian_choice": ["little", "big"]}
        self.remap_states = ["boot", "normal"]

    # ---------------------------------------------------------------- shared pieces

    def name_group(self, out, ind, name, description_chance=0.5, display_chance=0.1):
        out.add(simple(ind, "name", name))
        if self.rng.random() < display_chance:
            out.add(simple(ind, "displayName", escape_text(name.replace("_", " ").title())))
        if self.rng.random() < description_chance:
            out.add(simple(ind, "description", escape_text(self.rng.choice(DESCRIPTIONS))))

    def acme_extension(self, out, ind, kind):
        """Foreign content nobody binds: it has to survive a read and write untouched."""
        rng = self.rng
        out.add(f"{ind}<acme:{kind} acme:revision=\"{rng.randint(1, 9)}\" acme:owner=\"team-{rng.randint(1, 40)}\">\n")
        out.add(f"{ind}  <acme:note>{escape_text(rng.choice(DESCRIPTIONS))}</acme:note>\n")
        if rng.random() < 0.5:
            out.add(f"{ind}  <acme:trace acme:tool=\"regtool\" acme:hash=\"{rng.getrandbits(64):016x}\"/>\n")
        out.add(f"{ind}</acme:{kind}>\n")

    def vorlix_parameter_info(self, out, ind):
        out.add(f"{ind}<vorlix:parameterInfo>\n")
        out.add(f"{ind}  <vorlix:parameterUsage>hdl</vorlix:parameterUsage>\n")
        out.add(f"{ind}  <vorlix:visibility>{self.rng.choice(['true', 'false'])}</vorlix:visibility>\n")
        out.add(f"{ind}</vorlix:parameterInfo>\n")

    def parameter(self, out, ind, name, element="parameter", typed=False):
        rng = self.rng
        out.add(f"{ind}<spirit:{element}" + (f' spirit:dataType="integer" spirit:usageType="typed"' if typed else "") + ">\n")
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.3)
        roll = rng.random()
        if roll < 0.35:
            attributes = (f' spirit:format="long" spirit:resolve="user" spirit:id="{self.ids.take("PARAM")}"'
                          f' spirit:minimum="0" spirit:maximum="65535" spirit:rangeType="long"')
            value = str(rng.randint(0, 65535))
        elif roll < 0.5:
            choice = rng.choice(sorted(self.choices))
            attributes = f' spirit:format="string" spirit:resolve="user" spirit:choiceRef="{choice}"'
            value = rng.choice(self.choices[choice])
        elif roll < 0.65:
            attributes = ' spirit:format="bool" spirit:resolve="immediate"'
            value = rng.choice(["true", "false"])
        elif roll < 0.8:
            attributes = (f' spirit:format="bitString" spirit:bitStringLength="32" spirit:resolve="dependent"'
                          f' spirit:dependency="id(&apos;PARAM_{rng.randint(1, 99)}&apos;) * 2"')
            value = f"&apos;h{rng.getrandbits(32):08x}"
        else:
            attributes = f' spirit:format="float" spirit:prompt="Frequency (MHz):" spirit:order="{rng.randint(1, 9)}.5"'
            value = f"{rng.uniform(1, 1000):.3f}"
        out.add(simple(inner, "value", value, attributes))
        if rng.random() < 0.15:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            self.vorlix_parameter_info(out, inner + "  ")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        out.add(f"{ind}</spirit:{element}>\n")

    def parameters(self, out, ind, prefix, count):
        out.add(f"{ind}<spirit:parameters>\n")
        for i in range(count):
            self.parameter(out, ind + "  ", f"{prefix}_{i}")
        out.add(f"{ind}</spirit:parameters>\n")

    def vector(self, out, ind, left, right):
        out.add(f"{ind}<spirit:vector>\n")
        out.add(simple(ind + "  ", "left", left))
        out.add(simple(ind + "  ", "right", right))
        out.add(f"{ind}</spirit:vector>\n")

    # ---------------------------------------------------------------- interfaces and ports

    def plan_memory_maps(self):
        self.memory_map_names = [f"mm_{i}" for i in range(max(2, round(self.target / 600_000)))]

    def plan_views(self):
        count = 3 + int(self.target / 2_000_000)
        fixed = ["rtl", "simulation", "synthesis"]
        self.views = fixed + [f"view_{i}" for i in range(count - len(fixed))]

    def plan_file_sets(self, out):
        """File sets go out late in the document but views refer to them, so they are made first."""
        budget = self.target * FILE_SET_SHARE
        ind = "    "
        index = 0
        while out.size < budget or index < 2:
            name = f"fs_{index}"
            self.file_sets.append(name)
            self.file_set(out, ind, name, index)
            index += 1

    def file_set(self, out, ind, name, index):
        rng = self.rng
        out.add(f"{ind}<spirit:fileSet>\n")
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.3)
        out.add(simple(inner, "group", rng.choice(["sources", "headers", "constraints", "sim"])))
        file_ids = []
        for f in range(rng.randint(4, 16)):
            file_id = self.ids.take("FILE")
            file_ids.append(file_id)
            file_type = rng.choice(FILE_TYPES)
            extension = {"verilogSource": "v", "systemVerilogSource": "sv", "vhdlSource": "vhd",
                         "cSource": "c", "cppSource": "cpp", "tclSource": "tcl", "SDC": "sdc"}[file_type]
            out.add(f'{inner}<spirit:file spirit:fileId="{file_id}">\n')
            deeper = inner + "  "
            out.add(simple(deeper, "name", f"src/block_{index}/unit_{f}.{extension}"))
            out.add(simple(deeper, "fileType", file_type))
            if rng.random() < 0.2:
                out.add(simple(deeper, "userFileType", "lint-waiver"))
            if extension in ("v", "sv") and rng.random() < 0.3:
                out.add(simple(deeper, "isIncludeFile", "true", ' spirit:externalDeclarations="false"'))
            out.add(simple(deeper, "logicalName", f"lib_{index}", ' spirit:default="true"' if f == 0 else ""))
            if rng.random() < 0.3:
                out.add(f"{deeper}<spirit:buildCommand>\n")
                out.add(simple(deeper + "  ", "command", "vlog", ' spirit:resolve="user"'))
                out.add(simple(deeper + "  ", "flags", "-sv -work lib", ' spirit:append="true"'))
                out.add(f"{deeper}</spirit:buildCommand>\n")
            if rng.random() < 0.2:
                out.add(simple(deeper, "dependency", f"src/block_{index}/include"))
            if rng.random() < 0.2:
                out.add(f"{deeper}<spirit:define>\n")
                out.add(simple(deeper + "  ", "name", "SYNTHESIS"))
                out.add(simple(deeper + "  ", "value", "1"))
                out.add(f"{deeper}</spirit:define>\n")
            if rng.random() < 0.2:
                out.add(simple(deeper, "description", escape_text(rng.choice(DESCRIPTIONS))))
            out.add(f"{inner}</spirit:file>\n")
        out.add(f"{inner}<spirit:defaultFileBuilder>\n")
        out.add(simple(inner + "  ", "fileType", "verilogSource"))
        out.add(simple(inner + "  ", "command", "vlog"))
        out.add(simple(inner + "  ", "flags", "-quiet"))
        out.add(f"{inner}</spirit:defaultFileBuilder>\n")
        if rng.random() < 0.2:
            out.add(f'{inner}<spirit:function spirit:replicate="false">\n')
            deeper = inner + "  "
            out.add(simple(deeper, "entryPoint", "init_block"))
            out.add(simple(deeper, "fileRef", file_ids[0]))
            out.add(simple(deeper, "returnType", "int"))
            out.add(f'{deeper}<spirit:argument spirit:dataType="unsigned int">\n')
            out.add(simple(deeper + "  ", "name", "base"))
            out.add(simple(deeper + "  ", "value", "0x40000000"))
            out.add(f"{deeper}</spirit:argument>\n")
            out.add(f"{inner}</spirit:function>\n")
        if rng.random() < 0.3:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            self.acme_extension(out, inner + "  ", "fileSetInfo")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        out.add(f"{ind}</spirit:fileSet>\n")

    def plan_interfaces_and_ports(self, interfaces, ports):
        """Each interface brings the ports it maps, so no port map ever names a missing port."""
        rng = self.rng
        budget = self.target * INTERFACE_AND_PORT_SHARE
        self.add_port(ports, "clk", "in", 1, driver=False)
        self.add_port(ports, "rst_n", "in", 1, driver=True)
        index = 0
        while interfaces.size + ports.size < budget or index < 4:
            protocol = rng.choice(["apb", "apb", "axi4lite", "axi4lite", "ahb", "irq", "clock", "reset"])
            if index < 2:
                protocol = "axi4lite"
            mode = "slave"
            if index == 1 or (protocol in ("axi4lite", "ahb") and rng.random() < 0.15):
                mode = "master"
            elif protocol in ("apb", "axi4lite") and rng.random() < 0.1:
                mode = "mirroredSlave"
            elif protocol == "irq":
                mode = rng.choice(["master", "system", "mirroredMaster"])
            elif protocol in ("clock", "reset"):
                mode = rng.choice(["slave", "system", "monitor"])
            name = f"{protocol}_{index}"
            self.interfaces.append((name, mode))
            mapped = []
            for logical, direction, width in PROTOCOLS[protocol]:
                if mode in ("master", "mirroredSlave") and direction != "inout":
                    direction = "out" if direction == "in" else "in"
                port = f"{name}_{logical.lower()}"
                self.add_port(ports, port, direction, width, driver=direction == "in" and rng.random() < 0.2)
                mapped.append((logical, port, width))
            self.bus_interface(interfaces, "    ", name, protocol, mode, mapped, index)
            index += 1
        for i in range(max(2, index // 20)):
            self.transactional_port(ports, f"tlm_socket_{i}")

    def add_port(self, out, name, direction, width, driver):
        rng = self.rng
        self.ports.append((name, direction, width))
        ind = "      "
        inner = ind + "  "
        out.add(f"{ind}<spirit:port>\n")
        self.name_group(out, inner, name, description_chance=0.15)
        wire_attributes = ' spirit:allLogicalDirectionsAllowed="true"' if rng.random() < 0.05 else ""
        out.add(f"{inner}<spirit:wire{wire_attributes}>\n")
        deeper = inner + "  "
        out.add(simple(deeper, "direction", direction))
        if width > 1:
            self.vector(out, deeper, width - 1, 0)
        if rng.random() < 0.25:
            out.add(f"{deeper}<spirit:wireTypeDefs>\n")
            out.add(f"{deeper}  <spirit:wireTypeDef>\n")
            out.add(simple(deeper + "    ", "typeName", "std_logic_vector" if width > 1 else "std_logic",
                           ' spirit:constrained="true"' if width > 1 else ""))
            out.add(simple(deeper + "    ", "typeDefinition", "IEEE.std_logic_1164.all"))
            for view in self.views[:2]:
                out.add(simple(deeper + "    ", "viewNameRef", view))
            out.add(f"{deeper}  </spirit:wireTypeDef>\n")
            out.add(f"{deeper}</spirit:wireTypeDefs>\n")
        if driver:
            out.add(f"{deeper}<spirit:driver>\n")
            out.add(simple(deeper + "  ", "defaultValue", rng.choice(["0", "1", "0x0"])))
            out.add(f"{deeper}</spirit:driver>\n")
        out.add(f"{inner}</spirit:wire>\n")
        roll = rng.random()
        if roll < 0.06:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            out.add(f"{inner}  <vorlix:portInfo>\n")
            out.add(f"{inner}    <vorlix:endianness>{rng.choice(['little', 'big'])}</vorlix:endianness>\n")
            out.add(f"{inner}  </vorlix:portInfo>\n")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        elif roll < 0.1:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            self.acme_extension(out, inner + "  ", "padInfo")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        out.add(f"{ind}</spirit:port>\n")

    def transactional_port(self, out, name):
        ind = "      "
        inner = ind + "  "
        deeper = inner + "  "
        self.ports.append((name, "transactional", 0))
        out.add(f"{ind}<spirit:port>\n")
        out.add(simple(inner, "name", name))
        out.add(f'{inner}<spirit:transactional spirit:allLogicalInitiativesAllowed="false">\n')
        out.add(f"{deeper}<spirit:transTypeDef>\n")
        out.add(simple(deeper + "  ", "typeName", "tlm_generic_payload"))
        out.add(simple(deeper + "  ", "typeDefinition", "tlm.h"))
        out.add(f"{deeper}</spirit:transTypeDef>\n")
        out.add(f"{deeper}<spirit:service>\n")
        out.add(simple(deeper + "  ", "initiative", self.rng.choice(["requires", "provides"])))
        out.add(f"{deeper}</spirit:service>\n")
        out.add(f"{deeper}<spirit:connection>\n")
        out.add(simple(deeper + "  ", "maxConnections", "1"))
        out.add(simple(deeper + "  ", "minConnections", "0"))
        out.add(f"{deeper}</spirit:connection>\n")
        out.add(f"{inner}</spirit:transactional>\n")
        out.add(f"{ind}</spirit:port>\n")

    def bus_interface(self, out, ind, name, protocol, mode, mapped, index):
        rng = self.rng
        inner = ind + "  "
        attributes = ' acme:priority="high"' if rng.random() < 0.05 else ""
        out.add(f"{ind}<spirit:busInterface{attributes}>\n")
        self.name_group(out, inner, name, description_chance=0.4, display_chance=0.3)
        library_ref = f' spirit:vendor="example.com" spirit:library="busdef" spirit:name="{protocol}"'
        out.add(f'{inner}<spirit:busType{library_ref} spirit:version="1.0"/>\n')
        out.add(f'{inner}<spirit:abstractionType{library_ref[:-1]}_rtl" spirit:version="1.0"/>\n')
        deeper = inner + "  "
        if mode == "slave":
            out.add(f"{inner}<spirit:slave>\n")
            if protocol in ("apb", "axi4lite", "ahb"):
                # Maps are shared round-robin: a slave that names one never waits on its size.
                map_name = self.memory_map_names[index % len(self.memory_map_names)]
                out.add(f'{deeper}<spirit:memoryMapRef spirit:memoryMapRef="{map_name}"/>\n')
                if rng.random() < 0.2 and self.file_sets:
                    out.add(f"{deeper}<spirit:fileSetRefGroup>\n")
                    out.add(simple(deeper + "  ", "group", "drivers"))
                    out.add(f"{deeper}  <spirit:fileSetRef>\n")
                    out.add(simple(deeper + "    ", "localName", rng.choice(self.file_sets)))
                    out.add(f"{deeper}  </spirit:fileSetRef>\n")
                    out.add(f"{deeper}</spirit:fileSetRefGroup>\n")
            out.add(f"{inner}</spirit:slave>\n")
        elif mode == "master":
            out.add(f"{inner}<spirit:master>\n")
            if protocol != "irq":
                space = self.address_spaces[index % len(self.address_spaces)]
                out.add(f'{deeper}<spirit:addressSpaceRef spirit:addressSpaceRef="{space}">\n')
                out.add(simple(deeper + "  ", "baseAddress", hex32(rng.randrange(0, 1 << 32, 0x1000)),
                               ' spirit:resolve="user" spirit:id="' + self.ids.take("BASE") + '"'))
                out.add(f"{deeper}</spirit:addressSpaceRef>\n")
            out.add(f"{inner}</spirit:master>\n")
        elif mode == "mirroredSlave":
            out.add(f"{inner}<spirit:mirroredSlave>\n")
            out.add(f"{deeper}<spirit:baseAddresses>\n")
            for state in self.remap_states:
                out.add(simple(deeper + "  ", "remapAddress", hex32(rng.randrange(0, 1 << 32, 0x10000)),
                               f' spirit:state="{state}"'))
            out.add(simple(deeper + "  ", "range", "64K"))
            out.add(f"{deeper}</spirit:baseAddresses>\n")
            out.add(f"{inner}</spirit:mirroredSlave>\n")
        elif mode == "mirroredMaster":
            out.add(f"{inner}<spirit:mirroredMaster/>\n")
        elif mode == "monitor":
            out.add(f'{inner}<spirit:monitor spirit:interfaceMode="slave">\n')
            out.add(simple(deeper, "group", "observers"))
            out.add(f"{inner}</spirit:monitor>\n")
        else:
            out.add(f"{inner}<spirit:system>\n")
            out.add(simple(deeper, "group", "sys_" + protocol))
            out.add(f"{inner}</spirit:system>\n")
        if rng.random() < 0.2:
            out.add(simple(inner, "connectionRequired", "true"))
        out.add(f"{inner}<spirit:portMaps>\n")
        for logical, physical, width in mapped:
            out.add(f"{deeper}<spirit:portMap>\n")
            out.add(f"{deeper}  <spirit:logicalPort>\n")
            out.add(simple(deeper + "    ", "name", logical))
            if width > 1 and rng.random() < 0.5:
                self.vector(out, deeper + "    ", width - 1, 0)
            out.add(f"{deeper}  </spirit:logicalPort>\n")
            out.add(f"{deeper}  <spirit:physicalPort>\n")
            out.add(simple(deeper + "    ", "name", physical))
            if width > 1 and rng.random() < 0.5:
                self.vector(out, deeper + "    ", width - 1, 0)
            out.add(f"{deeper}  </spirit:physicalPort>\n")
            out.add(f"{deeper}</spirit:portMap>\n")
        out.add(f"{inner}</spirit:portMaps>\n")
        if protocol in ("apb", "axi4lite", "ahb"):
            out.add(simple(inner, "bitsInLau", "8"))
            if rng.random() < 0.3:
                out.add(simple(inner, "bitSteering", "off", ' spirit:resolve="immediate"'))
            out.add(simple(inner, "endianness", rng.choice(["little", "little", "big"])))
        if rng.random() < 0.3:
            self.parameters(out, inner, f"{name}_param", rng.randint(1, 3))
        if rng.random() < 0.2:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            self.acme_extension(out, inner + "  ", "interfaceInfo")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        out.add(f"{ind}</spirit:busInterface>\n")

    # ---------------------------------------------------------------- memory maps

    def field_widths(self, size):
        rng = self.rng
        widths = []
        remaining = size
        while remaining > 0 and len(widths) < 8:
            width = min(remaining, rng.choice([1, 1, 1, 2, 3, 4, 8, 16]))
            widths.append(width)
            remaining -= width
        return widths

    def enumerated_values(self, out, ind, width):
        rng = self.rng
        out.add(f"{ind}<spirit:enumeratedValues>\n")
        count = min(1 << width, rng.randint(2, 4))
        stems = rng.sample(ENUM_STEMS, count)
        for value, stem in enumerate(stems):
            usage = rng.choice(["", "", ' spirit:usage="read"', ' spirit:usage="read-write"'])
            out.add(f"{ind}  <spirit:enumeratedValue{usage}>\n")
            out.add(simple(ind + "    ", "name", stem))
            if rng.random() < 0.3:
                out.add(simple(ind + "    ", "description", f"Field reads {stem.lower()}"))
            out.add(simple(ind + "    ", "value", str(value) if value < 2 else hex(value)))
            out.add(f"{ind}  </spirit:enumeratedValue>\n")
        out.add(f"{ind}</spirit:enumeratedValues>\n")

    def field(self, out, ind, name, offset, width):
        rng = self.rng
        attributes = f' spirit:id="{self.ids.take("FLD")}"' if rng.random() < 0.1 else ""
        out.add(f"{ind}<spirit:field{attributes}>\n")
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.6)
        out.add(simple(inner, "bitOffset", offset))
        if rng.random() < 0.05:
            out.add(simple(inner, "typeIdentifier", f"{name.lower()}_t"))
        out.add(simple(inner, "bitWidth", width))
        if rng.random() < 0.2:
            out.add(simple(inner, "volatile", "true"))
        access = rng.choice(ACCESS)
        out.add(simple(inner, "access", access))
        if width <= 4 and rng.random() < 0.35:
            self.enumerated_values(out, inner, width)
        if access != "read-only" and rng.random() < 0.15:
            out.add(simple(inner, "modifiedWriteValue", rng.choice(MODIFIED_WRITE)))
        if access != "read-only" and rng.random() < 0.1:
            constraint = rng.random()
            out.add(f"{inner}<spirit:writeValueConstraint>\n")
            if constraint < 0.4:
                out.add(simple(inner + "  ", "writeAsRead", "true"))
            elif constraint < 0.7:
                out.add(simple(inner + "  ", "useEnumeratedValues", "false"))
            else:
                out.add(simple(inner + "  ", "minimum", "0"))
                out.add(simple(inner + "  ", "maximum", str((1 << width) - 1)))
            out.add(f"{inner}</spirit:writeValueConstraint>\n")
        if access != "write-only" and rng.random() < 0.05:
            out.add(simple(inner, "readAction", "clear"))
        if rng.random() < 0.05:
            out.add(simple(inner, "testable", "false", ' spirit:testConstraint="restore"'))
        out.add(f"{ind}</spirit:field>\n")

    def reset(self, out, ind, size):
        rng = self.rng
        digits = max(1, size // 4)
        value = rng.getrandbits(size) if rng.random() < 0.4 else 0
        out.add(f"{ind}<spirit:reset>\n")
        out.add(simple(ind + "  ", "value", f"0x{value:0{digits}X}"))
        if rng.random() < 0.7:
            out.add(simple(ind + "  ", "mask", f"0x{(1 << size) - 1:0{digits}X}"))
        out.add(f"{ind}</spirit:reset>\n")

    def register_fields(self, out, ind, size):
        offset = 0
        used = set()
        for width in self.field_widths(size):
            stem = self.rng.choice(FIELD_STEMS)
            name = stem if stem not in used else f"{stem}_{offset}"
            used.add(name)
            self.field(out, ind, name, offset, width)
            offset += width

    def register(self, out, ind, name, offset, taken_names):
        rng = self.rng
        attributes = f' spirit:id="{self.ids.take("REG")}"' if rng.random() < 0.15 else ""
        out.add(f"{ind}<spirit:register{attributes}>\n")
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.7, display_chance=0.2)
        dim = rng.choice([2, 4, 8]) if rng.random() < 0.03 else 0
        if dim:
            out.add(simple(inner, "dim", dim))
        out.add(simple(inner, "addressOffset", hex(offset) if rng.random() < 0.8 else str(offset)))
        if rng.random() < 0.05:
            out.add(simple(inner, "typeIdentifier", f"{name.lower()}_t"))
        size = rng.choice([32, 32, 32, 32, 16, 8, 64])
        out.add(simple(inner, "size", size))
        if rng.random() < 0.2:
            out.add(simple(inner, "volatile", rng.choice(["true", "false"])))
        out.add(simple(inner, "access", rng.choice(ACCESS)))
        if rng.random() < 0.85:
            self.reset(out, inner, size)
        self.register_fields(out, inner, size)
        if rng.random() < 0.02:
            out.add(f"{inner}<spirit:alternateRegisters>\n")
            for alternate in range(rng.randint(1, 2)):
                alternate_name = f"{name}_ALT{alternate}"
                taken_names.add(alternate_name)
                out.add(f"{inner}  <spirit:alternateRegister>\n")
                deeper = inner + "    "
                out.add(simple(deeper, "name", alternate_name))
                out.add(f"{deeper}<spirit:alternateGroups>\n")
                out.add(simple(deeper + "  ", "alternateGroup", f"mode{alternate}"))
                out.add(f"{deeper}</spirit:alternateGroups>\n")
                out.add(simple(deeper, "access", "read-only"))
                self.reset(out, deeper, size)
                self.register_fields(out, deeper, size)
                out.add(f"{inner}  </spirit:alternateRegister>\n")
            out.add(f"{inner}</spirit:alternateRegisters>\n")
        if rng.random() < 0.02:
            self.parameters(out, inner, f"{name}_p", 1)
        if rng.random() < 0.04:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            self.acme_extension(out, inner + "  ", "regInfo")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        out.add(f"{ind}</spirit:register>\n")
        return (dim or 1) * max(1, size // 8)

    def register_sequence(self, out, ind, count):
        """Registers at ascending, aligned offsets with names unique in their block."""
        names = set()
        offset = 0
        for r in range(count):
            stem = REGISTER_STEMS[r % len(REGISTER_STEMS)]
            name = f"{stem}_{r}" if r >= len(REGISTER_STEMS) else stem
            names.add(name)
            offset += self.register(out, ind, name, offset, names)
            offset = (offset + 7) & ~7
        return offset

    def register_file(self, out, ind, name, offset):
        out.add(f"{ind}<spirit:registerFile>\n")
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.5)
        out.add(simple(inner, "addressOffset", hex(offset)))
        out.add(simple(inner, "range", "0x100"))
        self.register_sequence(out, inner, self.rng.randint(2, 6))
        out.add(f"{ind}</spirit:registerFile>\n")

    def address_block(self, out, ind, name, base, banked=False):
        rng = self.rng
        attributes = f' spirit:id="{self.ids.take("AB")}"' if rng.random() < 0.3 and not banked else ""
        out.add(f"{ind}<spirit:addressBlock{attributes}>\n")
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.6, display_chance=0.3)
        if not banked:
            out.add(simple(inner, "baseAddress", hex32(base), ' spirit:resolve="user"' if rng.random() < 0.2 else ""))
        if not banked and rng.random() < 0.05:
            out.add(simple(inner, "typeIdentifier", "periph_regs"))
        out.add(simple(inner, "range", rng.choice(["4K", "0x1000", "4096", "0X1000"]),
                       ' spirit:format="long"' if rng.random() < 0.1 else ""))
        out.add(simple(inner, "width", 32))
        out.add(simple(inner, "usage", "register"))
        if rng.random() < 0.3:
            out.add(simple(inner, "access", "read-write"))
        if rng.random() < 0.1:
            self.parameters(out, inner, f"{name}_param", rng.randint(1, 2))
        end = self.register_sequence(out, inner, rng.randint(12, 48))
        if rng.random() < 0.08:
            self.register_file(out, inner, f"{name}_RF", (end + 0xFF) & ~0xFF)
        if rng.random() < 0.1:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            self.acme_extension(out, inner + "  ", "blockInfo")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        out.add(f"{ind}</spirit:addressBlock>\n")

    def bank(self, out, ind, name, base):
        out.add(f'{ind}<spirit:bank spirit:bankAlignment="{self.rng.choice(["serial", "parallel"])}">\n')
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.5)
        out.add(simple(inner, "baseAddress", hex32(base)))
        for b in range(self.rng.randint(2, 3)):
            self.address_block(out, inner, f"{name}_blk{b}", 0, banked=True)
        out.add(simple(inner, "usage", "register"))
        out.add(f"{ind}</spirit:bank>\n")

    def memory_map(self, out, ind, name, map_index, budget):
        rng = self.rng
        end = out.size + budget
        out.add(f"{ind}<spirit:memoryMap>\n")
        inner = ind + "  "
        self.name_group(out, inner, name, description_chance=0.5, display_chance=0.5)
        base = 0x40000000 + map_index * 0x1000000
        b = 0
        block_size = 0
        # Stopping when the next block would more likely overshoot than not keeps the total close.
        while b == 0 or (out.size + block_size / 2 < end and b < 4096):
            start = out.size
            if rng.random() < 0.04:
                self.bank(out, inner, f"{name}_bank{b}", base + b * 0x1000)
            else:
                self.address_block(out, inner, f"{name}_block{b}", base + b * 0x1000)
            block_size = out.size - start
            b += 1
        masters = [n for n, mode in self.interfaces if mode == "master"]
        if masters and rng.random() < 0.1:
            out.add(f'{inner}<spirit:subspaceMap spirit:masterRef="{rng.choice(masters)}">\n')
            out.add(simple(inner + "  ", "name", f"{name}_window"))
            out.add(simple(inner + "  ", "baseAddress", hex32(base + 0x80000)))
            out.add(f"{inner}</spirit:subspaceMap>\n")
        if rng.random() < 0.1:
            state = rng.choice(self.remap_states)
            out.add(f'{inner}<spirit:memoryRemap spirit:state="{state}">\n')
            out.add(simple(inner + "  ", "name", f"{name}_remap_{state}"))
            self.address_block(out, inner + "  ", f"{name}_boot_block", 0)
            out.add(f"{inner}</spirit:memoryRemap>\n")
        out.add(simple(inner, "addressUnitBits", 8))
        if rng.random() < 0.3:
            out.add(f"{inner}<spirit:vendorExtensions>\n")
            self.acme_extension(out, inner + "  ", "mapInfo")
            out.add(f"{inner}</spirit:vendorExtensions>\n")
        out.add(f"{ind}</spirit:memoryMap>\n")

    # ---------------------------------------------------------------- document order

    def remap_states_section(self, out):
        out.add("  <spirit:remapStates>\n")
        for state in self.remap_states:
            out.add("    <spirit:remapState>\n")
            out.add(simple("      ", "name", state))
            out.add("      <spirit:remapPorts>\n")
            out.add(simple("        ", "remapPort", "1" if state == "boot" else "0",
                           ' spirit:portNameRef="rst_n"'))
            out.add("      </spirit:remapPorts>\n")
            out.add("    </spirit:remapState>\n")
        out.add("  </spirit:remapStates>\n")

    def address_spaces_section(self, out):
        out.add("  <spirit:addressSpaces>\n")
        for space in self.address_spaces:
            out.add("    <spirit:addressSpace>\n")
            self.name_group(out, "      ", space, description_chance=1.0)
            out.add(simple("      ", "range", "4G"))
            out.add(simple("      ", "width", 32))
            out.add("      <spirit:segments>\n")
            for s, (offset, size) in enumerate([(0, "1G"), (0x40000000, "1G"), (0x80000000, "2G")]):
                out.add("        <spirit:segment>\n")
                out.add(simple("          ", "name", f"{space}_seg{s}"))
                out.add(simple("          ", "addressOffset", hex32(offset)))
                out.add(simple("          ", "range", size))
                out.add("        </spirit:segment>\n")
            out.add("      </spirit:segments>\n")
            out.add(simple("      ", "addressUnitBits", 8))
            out.add("    </spirit:addressSpace>\n")
        out.add("  </spirit:addressSpaces>\n")

    def views_section(self, out):
        rng = self.rng
        out.add("    <spirit:views>\n")
        for v, view in enumerate(self.views):
            out.add("      <spirit:view>\n")
            inner = "        "
            self.name_group(out, inner, view, description_chance=0.5)
            out.add(simple(inner, "envIdentifier", rng.choice([":simulator.example.com:", "*Simulation:*:*",
                                                               "verilogSource:*:", ":synthesis.example.com:"])))
            if v == len(self.views) - 1 and v > 2:
                out.add(f'{inner}<spirit:hierarchyRef spirit:vendor="example.com" spirit:library="designs"'
                        f' spirit:name="top_design" spirit:version="1.0"/>\n')
            else:
                out.add(simple(inner, "language", rng.choice(["verilog", "vhdl", "systemverilog"]),
                               ' spirit:strict="false"'))
                out.add(simple(inner, "modelName", f"soc_top_{view}"))
                for file_set in rng.sample(self.file_sets, min(len(self.file_sets), rng.randint(1, 4))):
                    out.add(f"{inner}<spirit:fileSetRef>\n")
                    out.add(simple(inner + "  ", "localName", file_set))
                    out.add(f"{inner}</spirit:fileSetRef>\n")
                if rng.random() < 0.3:
                    self.parameters(out, inner, f"{view}_param", 2)
            if rng.random() < 0.3:
                out.add(f"{inner}<spirit:vendorExtensions>\n")
                self.acme_extension(out, inner + "  ", "viewInfo")
                out.add(f"{inner}</spirit:vendorExtensions>\n")
            out.add("      </spirit:view>\n")
        out.add("    </spirit:views>\n")

    def model_parameters_section(self, out):
        budget = self.target * MODEL_PARAMETER_SHARE
        out.add("    <spirit:modelParameters>\n")
        i = 0
        while out.size < budget or i < 2:
            self.parameter(out, "      ", f"MODEL_PARAM_{i}", element="modelParameter", typed=self.rng.random() < 0.5)
            i += 1
        out.add("    </spirit:modelParameters>\n")

    def choices_section(self, out):
        out.add("  <spirit:choices>\n")
        for name, values in sorted(self.choices.items()):
            out.add("    <spirit:choice>\n")
            out.add(simple("      ", "name", name))
            for value in values:
                out.add(simple("      ", "enumeration", value, f' spirit:text="{value}" spirit:help="{escape_attribute("Pick " + value)}"'))
            out.add("    </spirit:choice>\n")
        out.add("  </spirit:choices>\n")

    def tail_section(self, out):
        budget = self.target * COMPONENT_PARAMETER_SHARE
        out.add(simple("  ", "description", escape_text("Synthetic SoC peripheral subsystem for reader & writer measurements <generated>.")))
        out.add("  <spirit:parameters>\n")
        i = 0
        while out.size < budget or i < 2:
            self.parameter(out, "    ", f"PARAM_{i}")
            i += 1
        out.add("  </spirit:parameters>\n")
        out.add("  <spirit:vendorExtensions>\n")
        out.add("    <vorlix:coreExtensions>\n")
        out.add("      <vorlix:displayName>Synthetic subsystem</vorlix:displayName>\n")
        out.add("      <vorlix:hideInCatalogGUI>false</vorlix:hideInCatalogGUI>\n")
        out.add("    </vorlix:coreExtensions>\n")
        self.acme_extension(out, "    ", "generatorInfo")
        out.add("  </spirit:vendorExtensions>\n")

    def write(self, stream, name):
        file_sets = Emitter()
        interfaces = Emitter()
        ports = Emitter()
        views = Emitter()
        model_parameters = Emitter()
        tail = Emitter()
        remap_and_spaces = Emitter()
        self.plan_memory_maps()
        self.plan_views()
        self.plan_file_sets(file_sets)
        self.plan_interfaces_and_ports(interfaces, ports)
        self.views_section(views)
        self.model_parameters_section(model_parameters)
        self.tail_section(tail)
        self.remap_states_section(remap_and_spaces)
        self.address_spaces_section(remap_and_spaces)

        out = StreamEmitter(stream)
        out.add('<?xml version="1.0" encoding="UTF-8"?>\n')
        out.add(f'<spirit:component xmlns:spirit="{SPIRIT_URI}" xmlns:vorlix="{VORLIX_URI}" xmlns:acme="{ACME_URI}">\n')
        out.add(simple("  ", "vendor", "example.com"))
        out.add(simple("  ", "library", "bench"))
        out.add(simple("  ", "name", name))
        out.add(simple("  ", "version", "1.0"))
        out.add("  <spirit:busInterfaces>\n")
        out.add(interfaces.text())
        out.add("  </spirit:busInterfaces>\n")
        out.add(remap_and_spaces.text())

        closing = ("  </spirit:memoryMaps>\n  <spirit:model>\n", "    <spirit:ports>\n", "    </spirit:ports>\n",
                   "  </spirit:model>\n", "  <spirit:fileSets>\n", "  </spirit:fileSets>\n", "</spirit:component>\n")
        rest = (views.size + ports.size + model_parameters.size + file_sets.size + tail.size
                + sum(len(text) for text in closing) + 200)
        memory_end = self.target - rest
        out.add("  <spirit:memoryMaps>\n")
        for map_index, map_name in enumerate(self.memory_map_names):
            maps_left = len(self.memory_map_names) - map_index
            self.memory_map(out, "    ", map_name, map_index, (memory_end - out.size) / maps_left)
        out.add(closing[0])
        out.add(views.text())
        out.add(closing[1])
        out.add(ports.text())
        out.add(closing[2])
        out.add(model_parameters.text())
        out.add(closing[3])
        self.choices_section(out)
        out.add(closing[4])
        out.add(file_sets.text())
        out.add(closing[5])
        out.add(tail.text())
        out.add(closing[6])
        out.flush()
        return out.written


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--size-mb", type=float, required=True, help="approximate size in MB (10**6 bytes)")
    parser.add_argument("--seed", type=int, default=1685, help="random seed; equal seeds give equal files")
    parser.add_argument("-o", "--output", required=True, help="file to write")
    args = parser.parse_args(argv)
    if args.size_mb <= 0:
        parser.error("--size-mb must be positive")
    target = int(args.size_mb * 1_000_000)
    writer = ComponentWriter(random.Random(args.seed), target)
    with open(args.output, "wb") as stream:
        written = writer.write(stream, f"soc_subsystem_{args.size_mb:g}mb".replace(".", "_"))
    print(f"{args.output}: {written} bytes", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
