// Creates a bus definition and an abstraction definition from nothing, writes each to a file in the
// given directory and prints what was written.
//
//   create_bus_definition output-directory

#include <ipxact/spirit/HIPGSpirit.h>

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

using namespace HIPGSpirit;

namespace {

// Setters check their value against the schema and say why they refuse it.
void require(lmx60::elmx_error code, const char* what)
{
    if (code != lmx60::ELMX_OK)
        throw std::runtime_error(std::string(what) + ": " + lmx60::get_error_description(code));
}

void identify(HIPGSVersionedIdentifier& id, const char* name)
{
    require(id.setVendor("vorlix.com"), "vendor");
    require(id.setLibrary("example"), "library");
    require(id.setName(name), "name");
    require(id.setVersion("1.0"), "version");
}

HIPGSBusDefinition make_bus_definition()
{
    HIPGSBusDefinition bus;
    identify(bus.getVersionedIdentifier(), "simple_bus");
    require(bus.setDirectConnection(true), "directConnection");
    require(bus.setIsAddressable(false), "isAddressable");
    require(bus.setDescription("A clock and a data word from master to slave."), "description");
    return bus;
}

// A wire port driven by the master and received by the slave.
void add_master_to_slave_wire(HIPGSAbstractionDefinitionPorts& ports, const char* name, int width,
                              bool is_clock)
{
    HIPGSAbstractionDefinitionPortsPort& port = ports.appendPort();
    require(port.setLogicalName(name), "logicalName");
    HIPGSAbstractionDefinitionPortsPortAnonWire& kind = port.getAbstractionDefinitionPortsPortAnonWire();
    kind.select_Wire();
    HIPGSWire& wire = kind.getWire();
    if (is_clock) {
        wire.getQualifier().select_IsClock();
        require(wire.getQualifier().setIsClock(true), "isClock");
    }
    HIPGSWirePort& master = wire.getOnMaster().getWirePort();
    require(master.setWidth(width), "width");
    master.setEnumDirection(HIPGSWirePort::e_enum_Direction::out);
    HIPGSWirePort& slave = wire.getOnSlave().getWirePort();
    require(slave.setWidth(width), "width");
    slave.setEnumDirection(HIPGSWirePort::e_enum_Direction::in);
}

HIPGSAbstractionDefinition make_abstraction_definition(const HIPGSBusDefinition& bus)
{
    HIPGSAbstractionDefinition abstraction;
    identify(abstraction.getVersionedIdentifier(), "simple_bus_rtl");
    const HIPGSVersionedIdentifier& busId = bus.getVersionedIdentifier();
    HIPGSLibraryRefType2& busType = abstraction.getBusType();
    require(busType.setVendorAttr(busId.getVendor()), "busType vendor");
    require(busType.setLibraryAttr(busId.getLibrary()), "busType library");
    require(busType.setNameAttr(busId.getName()), "busType name");
    require(busType.setVersionAttr(busId.getVersion()), "busType version");
    add_master_to_slave_wire(abstraction.getPorts(), "CLK", 1, true);
    add_master_to_slave_wire(abstraction.getPorts(), "DATA", 32, false);
    return abstraction;
}

void write_and_show(const HIPGSBase& document, const std::string& path)
{
    lmx60::s_debug_error debug;
    if (document.marshal(path.c_str(), &debug) != lmx60::ELMX_OK)
        throw std::runtime_error(path + ": " + debug.to_string());
    std::ifstream written(path);
    std::cout << "== " << path.substr(path.find_last_of('/') + 1) << "\n" << written.rdbuf();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: create_bus_definition output-directory\n";
        return 2;
    }
    try {
        const std::string directory = argv[1];
        const HIPGSBusDefinition bus = make_bus_definition();
        write_and_show(bus, directory + "/simple_bus.xml");
        write_and_show(make_abstraction_definition(bus), directory + "/simple_bus_rtl.xml");
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
    return 0;
}
