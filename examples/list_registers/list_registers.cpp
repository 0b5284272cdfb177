// Reads a component and lists the registers of its memory maps: each register's address (block
// base plus offset), size and access, then its fields with their bit ranges.
//
//   list_registers component.xml

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/spirit/HIPGSpirit.h>

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>

using namespace HIPGSpirit;

namespace {

// Addresses in documents are texts such as "0x40", "64" or "'h40"; the plain forms are enough here.
uint64_t address_value(const std::string& text)
{
    return std::stoull(text, nullptr, 0);
}

std::string hex(uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%08llx", static_cast<unsigned long long>(value));
    return text;
}

void list_fields(const HIPGSRegisterDefinitionGroup& definition)
{
    for (size_t i = 0; i < definition.sizeField(); ++i) {
        const HIPGSFieldType& field = definition.getField(i);
        const long long low = std::stoll(field.getBitOffset().text());
        const long long width = std::stoll(field.getFieldDefinitionGroup().getBitWidth().getBitWidth().text());
        std::cout << "    [" << low + width - 1 << ":" << low << "] "
                  << field.getNameGroup().getName() << "\n";
    }
}

void list_registers(const HIPGSAddressBlockType& block)
{
    const uint64_t base = address_value(block.getAddressSpecifier().getBaseAddress().getBaseAddress());
    const HIPGSRegisterData& data = block.getAddressBlockDefinitionGroup().getRegisterData();
    for (size_t i = 0; i < data.sizeRegister(); ++i) {
        const HIPGSRegister& reg = data.getRegister(i);
        const HIPGSRegisterDefinitionGroup& definition = reg.getRegisterDefinitionGroup();
        std::cout << "  " << hex(base + address_value(reg.getAddressOffset())) << " "
                  << reg.getNameGroup().getName() << " (" << definition.getSize().getSize().text()
                  << " bits";
        if (definition.isSetAccess())
            std::cout << ", " << definition.getAccess();
        std::cout << ")\n";
        list_fields(definition);
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: list_registers component.xml\n";
        return 2;
    }
    HIPGSComponent component;
    lmx60::s_debug_error debug;
    if (component.unmarshal(argv[1], &debug) != lmx60::ELMX_OK) {
        std::cerr << argv[1] << ": " << debug.to_string() << "\n";
        return 1;
    }
    const HIPGSVersionedIdentifier& id = component.getVersionedIdentifier();
    std::cout << id.getVendor() << ":" << id.getLibrary() << ":" << id.getName() << ":"
              << id.getVersion() << "\n";
    if (!component.isSetMemoryMaps())
        return 0;
    const HIPGSMemoryMaps& maps = component.getMemoryMaps();
    for (size_t i = 0; i < maps.sizeMemoryMap(); ++i) {
        const HIPGSMemoryMapType& map = maps.getMemoryMap(i);
        std::cout << "memory map " << map.getNameGroup().getName() << "\n";
        for (size_t j = 0; j < map.sizeMemoryMap(); ++j)
            if (map.getMemoryMap(j).isSetAddressBlock())
                list_registers(map.getMemoryMap(j).getAddressBlock());
    }
    return 0;
}
