#include "summary.h"

#include <algorithm>

#include <ipxact/spirit/HIPGSpirit.h>

using namespace HIPGSpirit;

namespace ipxact_cli {

namespace {

// Gathers the counts of one document. Every child that may be absent is looked at only when present
// (isSet...): the const getters of absent children throw. A group whose content is all optional, such
// as spirit:registerData, is absent when none of it was read.
class walker {
public:
    explicit walker(document_summary& summary) : m_summary(summary) {}

    void component(const HIPGSComponentType& c)
    {
        m_summary.id = identifier_of(c.getVersionedIdentifier());
        size_t busInterfaces = 0, ports = 0, views = 0, memoryMaps = 0, fileSets = 0, files = 0, parameters = 0;
        if (c.isSetBusInterfaces()) {
            const HIPGSBusInterfaces& all = c.getBusInterfaces();
            busInterfaces = all.sizeBusInterface();
            for (size_t i = 0; i < busInterfaces; ++i)
                vendor_blocks(all.getBusInterface(i));
        }
        if (c.isSetMemoryMaps()) {
            const HIPGSMemoryMaps& all = c.getMemoryMaps();
            memoryMaps = all.sizeMemoryMap();
            for (size_t i = 0; i < memoryMaps; ++i)
                memory_map(all.getMemoryMap(i));
        }
        if (c.isSetModel()) {
            const HIPGSModelType& model = c.getModel();
            if (model.isSetViews())
                views = model.getViews().sizeView();
            if (model.isSetPorts()) {
                const HIPGSPorts& all = model.getPorts();
                ports = all.sizePort();
                for (size_t i = 0; i < ports; ++i)
                    vendor_blocks(all.getPort(i));
            }
        }
        if (c.isSetFileSets()) {
            const HIPGSFileSets& all = c.getFileSets();
            fileSets = all.sizeFileSet();
            for (size_t i = 0; i < fileSets; ++i) {
                const HIPGSFileSetType& set = all.getFileSet(i);
                files += set.sizeFile();
                for (size_t j = 0; j < set.sizeFile(); ++j)
                    vendor_blocks(set.getFile(j));
                vendor_blocks(set);
            }
        }
        if (c.isSetParameters())
            parameters = parameter_list(c.getParameters());
        vendor_blocks(c);
        m_summary.counts = {{"bus interfaces", busInterfaces},
                            {"ports", ports},
                            {"views", views},
                            {"memory maps", memoryMaps},
                            {"address blocks", m_addressBlocks},
                            {"registers", m_registers},
                            {"fields", m_fields},
                            {"file sets", fileSets},
                            {"files", files},
                            {"parameters", parameters}};
    }

    void design(const HIPGSDesign& d)
    {
        m_summary.id = identifier_of(d.getVersionedIdentifier());
        size_t instances = 0, interconnections = 0, adHocConnections = 0;
        if (d.isSetComponentInstances()) {
            const HIPGSComponentInstances& all = d.getComponentInstances();
            instances = all.sizeComponentInstance();
            for (size_t i = 0; i < instances; ++i)
                vendor_blocks(all.getComponentInstance(i));
        }
        if (d.isSetInterconnections())
            interconnections = d.getInterconnections().sizeInterconnection();
        if (d.isSetAdHocConnections())
            adHocConnections = d.getAdHocConnections().sizeAdHocConnection();
        vendor_blocks(d);
        m_summary.counts = {{"component instances", instances},
                            {"interconnections", interconnections},
                            {"ad-hoc connections", adHocConnections}};
    }

    void bus_definition(const HIPGSBusDefinition& b)
    {
        m_summary.id = identifier_of(b.getVersionedIdentifier());
        vendor_blocks(b);
    }

    void abstraction_definition(const HIPGSAbstractionDefinition& a)
    {
        m_summary.id = identifier_of(a.getVersionedIdentifier());
        size_t ports = 0;
        if (a.isSetPorts()) {
            const HIPGSAbstractionDefinitionPorts& all = a.getPorts();
            ports = all.sizePort();
            for (size_t i = 0; i < ports; ++i)
                vendor_blocks(all.getPort(i));
        }
        vendor_blocks(a);
        m_summary.counts = {{"ports", ports}};
    }

    template <class Identified>
    void identified(const Identified& document)
    {
        m_summary.id = identifier_of(document.getVersionedIdentifier());
        vendor_blocks(document);
    }

private:
    static identifier identifier_of(const HIPGSVersionedIdentifier& v)
    {
        return {v.getVendor(), v.getLibrary(), v.getName(), v.getVersion()};
    }

    size_t parameter_list(const HIPGSParameters& parameters)
    {
        for (size_t i = 0; i < parameters.sizeParameter(); ++i)
            vendor_blocks(parameters.getParameter(i));
        return parameters.sizeParameter();
    }

    void memory_map(const HIPGSMemoryMapType& map)
    {
        map_content(map);
        // A remap lays out the same kinds of blocks for one remap state.
        for (size_t i = 0; i < map.sizeMemoryRemap(); ++i)
            map_content(map.getMemoryRemap(i));
        vendor_blocks(map);
    }

    template <class Map>
    void map_content(const Map& map)
    {
        for (size_t i = 0; i < map.sizeMemoryMap(); ++i) {
            const HIPGSMemoryMap& item = map.getMemoryMap(i);
            if (item.isSetAddressBlock())
                address_block(item.getAddressBlock());
            else if (item.isSetBank())
                bank(item.getBank().getBankBase());
        }
    }

    void address_block(const HIPGSAddressBlockType& block)
    {
        ++m_addressBlocks;
        const HIPGSAddressBlockDefinitionGroup& definition = block.getAddressBlockDefinitionGroup();
        if (definition.isSetRegisterData())
            register_data(definition.getRegisterData());
        vendor_blocks(block);
    }

    // Banks nest blocks and further banks.
    void bank(const HIPGSBankBase& base)
    {
        for (size_t i = 0; i < base.sizeAnonAddressBlock(); ++i) {
            const HIPGSAnonAddressBlock& item = base.getAnonAddressBlock(i);
            if (item.isSetAddressBlock()) {
                ++m_addressBlocks;
                const HIPGSAddressBlockExtensions& extensions = item.getAddressBlock().getAddressBlockExtensions();
                if (extensions.isSetRegisterData())
                    register_data(extensions.getRegisterData());
                vendor_blocks(item.getAddressBlock());
            } else if (item.isSetBank()) {
                bank(item.getBank().getBankBase());
            }
        }
    }

    // Register files nest registers and further register files.
    void register_data(const HIPGSRegisterData& data)
    {
        for (size_t i = 0; i < data.sizeRegister(); ++i) {
            const HIPGSRegister& r = data.getRegister(i);
            ++m_registers;
            const HIPGSRegisterDefinitionGroup& definition = r.getRegisterDefinitionGroup();
            m_fields += definition.sizeField();
            for (size_t j = 0; j < definition.sizeField(); ++j)
                vendor_blocks(definition.getField(j));
            vendor_blocks(r);
        }
        for (size_t i = 0; i < data.sizeRegisterFile(); ++i) {
            const HIPGSRegisterFileDefinitionGroup& file = data.getRegisterFile(i).getRegisterFileDefinitionGroup();
            if (file.isSetRegisterData())
                register_data(file.getRegisterData());
        }
    }

    // Vendor blocks are open content of spirit:vendorExtensions, except where the owner's class
    // holds one as a typed member of its own (a member in the vendor namespace).
    template <class Owner>
    void vendor_blocks(const Owner& owner)
    {
        const ClassInfo& info = Owner::s_class_info;
        for (uint32_t i = 0; i < info.member_count; ++i) {
            const MemberInfo& member = info.members[i];
            if (member.ns_id == kVorlixNamespaceId && member.kind != MemberKind::attribute &&
                member.ops->count(owner) > 0)
                m_summary.vendor_blocks.push_back(member.qname);
        }
        if (!owner.isSetVendorExtensions())
            return;
        const HIPGSVendorExtensions& extensions = owner.getVendorExtensions();
        for (size_t i = 0; i < extensions.sizeany(); ++i)
            if (extensions.getany(i).get_namespace() == kVorlixNamespaceUri)
                m_summary.vendor_blocks.push_back(extensions.getany(i).get_qname());
    }

    document_summary& m_summary;
    size_t m_addressBlocks = 0;
    size_t m_registers = 0;
    size_t m_fields = 0;
};

}  // namespace

document_summary summarize(const HIPGSTop& document)
{
    document_summary summary;
    summary.root = document.getChosenElementId();
    walker walk(summary);
    const HIPGSBase* chosen = document.getChosenObject();
    if (auto* c = dynamic_cast<const HIPGSComponentType*>(chosen))
        walk.component(*c);
    else if (auto* d = dynamic_cast<const HIPGSDesign*>(chosen))
        walk.design(*d);
    else if (auto* b = dynamic_cast<const HIPGSBusDefinition*>(chosen))
        walk.bus_definition(*b);
    else if (auto* a = dynamic_cast<const HIPGSAbstractionDefinition*>(chosen))
        walk.abstraction_definition(*a);
    else if (auto* configuration = dynamic_cast<const HIPGSDesignConfiguration*>(chosen))
        walk.identified(*configuration);
    else if (auto* abstractor = dynamic_cast<const HIPGSAbstractorType*>(chosen))
        walk.identified(*abstractor);
    else if (auto* chain = dynamic_cast<const HIPGSGeneratorChain*>(chosen))
        walk.identified(*chain);
    return summary;
}

size_t count_of(const document_summary& summary, const std::string& label)
{
    for (const count& c : summary.counts)
        if (c.label == label)
            return c.value;
    return 0;
}

void print_summary(std::ostream& out, const document_summary& summary)
{
    out << "  root element: " << summary.root << '\n';
    if (summary.id)
        out << "  identifier:   " << summary.id->vendor << ':' << summary.id->library << ':' << summary.id->name
            << ':' << summary.id->version << '\n';
    for (const count& c : summary.counts)
        out << "  " << c.label << ": " << c.value << '\n';
    out << "  vendor blocks: " << summary.vendor_blocks.size();
    std::vector<std::string> distinct;
    for (const std::string& name : summary.vendor_blocks)
        if (std::find(distinct.begin(), distinct.end(), name) == distinct.end())
            distinct.push_back(name);
    for (size_t i = 0; i < distinct.size(); ++i)
        out << (i == 0 ? " (" : ", ") << distinct[i];
    out << (distinct.empty() ? "\n" : ")\n");
}

}  // namespace ipxact_cli
