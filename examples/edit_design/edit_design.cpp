// Reads a design, adds a second UART instance and the interconnection that attaches it to the
// processor's second APB master, writes the design to a new file and prints what was written.
//
//   edit_design design.xml output.xml

#include <ipxact/spirit/HIPGSpirit.h>

#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

using namespace HIPGSpirit;

namespace {

void require(lmx60::elmx_error code, const char* what)
{
    if (code != lmx60::ELMX_OK)
        throw std::runtime_error(std::string(what) + ": " + lmx60::get_error_description(code));
}

// The new instance refers to the same component as an existing one, found by instance name.
void add_instance_like(HIPGSDesign& design, const std::string& model, const std::string& name)
{
    HIPGSComponentInstances& instances = design.getComponentInstances();
    for (size_t i = 0; i < instances.sizeComponentInstance(); ++i) {
        const HIPGSComponentInstance& existing = instances.getComponentInstance(i);
        if (existing.getInstanceName() != model)
            continue;
        HIPGSComponentInstance& added = instances.appendComponentInstance();
        require(added.setInstanceName(name), "instanceName");
        added.assignComponentRef(existing.getComponentRef());  // a copy: trees never share children
        return;
    }
    throw std::runtime_error("no component instance named " + model);
}

void connect(HIPGSDesign& design, const std::string& name, const std::string& master,
             const std::string& masterBus, const std::string& slave, const std::string& slaveBus)
{
    HIPGSInterconnection& connection = design.getInterconnections().appendInterconnection();
    require(connection.getNameGroup().setName(name), "name");
    HIPGSInterface& from = connection.appendActiveInterface();
    require(from.setComponentRefAttr(master), "componentRef");
    require(from.setBusRefAttr(masterBus), "busRef");
    HIPGSInterface& to = connection.appendActiveInterface();
    require(to.setComponentRefAttr(slave), "componentRef");
    require(to.setBusRefAttr(slaveBus), "busRef");
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: edit_design design.xml output.xml\n";
        return 2;
    }
    try {
        HIPGSDesign design;
        lmx60::s_debug_error debug;
        if (design.unmarshal(argv[1], &debug) != lmx60::ELMX_OK)
            throw std::runtime_error(std::string(argv[1]) + ": " + debug.to_string());
        add_instance_like(design, "uart0", "uart1");
        connect(design, "cpu0_uart1", "cpu0", "M_APB1", "uart1", "S_APB");
        if (design.marshal(argv[2], &debug) != lmx60::ELMX_OK)
            throw std::runtime_error(std::string(argv[2]) + ": " + debug.to_string());
        std::cout << std::ifstream(argv[2]).rdbuf();
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << "\n";
        return 1;
    }
    return 0;
}
