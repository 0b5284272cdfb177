#include "global_documents.h"

#include "corpus.h"

namespace global_documents {

namespace {

struct standard_body {
    int choice;
    const char* element;
    const char* body;  // the document element without its namespace declarations
};

const standard_body kStandardBodies[] = {
    {20, "busDefinition",
     R"(<spirit:busDefinition>
      <spirit:vendor>vorlix.com</spirit:vendor>
      <spirit:library>test</spirit:library>
      <spirit:name>bus</spirit:name>
      <spirit:version>1.0</spirit:version>
      <spirit:directConnection>true</spirit:directConnection>
      <spirit:isAddressable>false</spirit:isAddressable>
      </spirit:busDefinition>)"},
    {21, "parameter",
     R"(<spirit:parameter>
      <spirit:name>WIDTH</spirit:name>
      <spirit:value spirit:id="W" spirit:resolve="user">8</spirit:value>
      </spirit:parameter>)"},
    {22, "parameters",
     R"(<spirit:parameters>
      <spirit:parameter>
      <spirit:name>A</spirit:name>
      <spirit:value>1</spirit:value>
      </spirit:parameter>
      <spirit:parameter>
      <spirit:name>B</spirit:name>
      <spirit:value>two</spirit:value>
      </spirit:parameter>
      </spirit:parameters>)"},
    {23, "vendorExtensions",
     R"(<spirit:vendorExtensions>
      <vorlix:fileInfo>
      <vorlix:associatedDestinationFile>a.v</vorlix:associatedDestinationFile>
      </vorlix:fileInfo>
      </spirit:vendorExtensions>)"},
    {24, "displayName",
     R"(<spirit:displayName>UART Lite</spirit:displayName>)"},
    {25, "description",
     R"(<spirit:description>A small UART</spirit:description>)"},
    {26, "choices",
     R"(<spirit:choices>
      <spirit:choice>
      <spirit:name>widths</spirit:name>
      <spirit:enumeration>8</spirit:enumeration>
      <spirit:enumeration spirit:text="sixteen">16</spirit:enumeration>
      </spirit:choice>
      </spirit:choices>)"},
    {27, "vector",
     R"(<spirit:vector><spirit:left>7</spirit:left><spirit:right>0</spirit:right></spirit:vector>)"},
    {28, "initiative",
     R"(<spirit:initiative>provides</spirit:initiative>)"},
    {29, "portAccessType",
     R"(<spirit:portAccessType>ptr</spirit:portAccessType>)"},
    {30, "transTypeDef",
     R"(<spirit:transTypeDef>
      <spirit:typeName spirit:constrained="true">tlm_socket</spirit:typeName>
      <spirit:typeDefinition>tlm.h</spirit:typeDefinition>
      </spirit:transTypeDef>)"},
    {31, "serviceTypeDef",
     R"(<spirit:serviceTypeDef><spirit:typeName>int</spirit:typeName></spirit:serviceTypeDef>)"},
    {32, "wireTypeDef",
     R"(<spirit:wireTypeDef>
      <spirit:typeName>std_logic</spirit:typeName>
      <spirit:typeDefinition>IEEE.std_logic_1164.all</spirit:typeDefinition>
      <spirit:viewNameRef>rtl</spirit:viewNameRef>
      </spirit:wireTypeDef>)"},
    {33, "serviceTypeDefs",
     R"(<spirit:serviceTypeDefs>
      <spirit:serviceTypeDef>
      <spirit:typeName>int</spirit:typeName>
      </spirit:serviceTypeDef>
      </spirit:serviceTypeDefs>)"},
    {34, "wireTypeDefs",
     R"(<spirit:wireTypeDefs>
      <spirit:wireTypeDef>
      <spirit:typeName>wire</spirit:typeName>
      <spirit:viewNameRef>rtl</spirit:viewNameRef>
      </spirit:wireTypeDef>
      </spirit:wireTypeDefs>)"},
    {35, "portAccessHandle",
     R"(<spirit:portAccessHandle>uart_if</spirit:portAccessHandle>)"},
    {36, "port",
     R"(<spirit:port>
      <spirit:name>clk</spirit:name>
      <spirit:wire>
      <spirit:direction>in</spirit:direction>
      </spirit:wire>
      </spirit:port>)"},
    {37, "cellSpecification",
     R"(<spirit:cellSpecification>
      <spirit:cellFunction spirit:cellStrength="low">buf</spirit:cellFunction>
      </spirit:cellSpecification>)"},
    {38, "timingConstraint",
     R"(<spirit:timingConstraint spirit:clockName="clk">40</spirit:timingConstraint>)"},
    {39, "driveConstraint",
     R"(<spirit:driveConstraint>
      <spirit:cellSpecification>
      <spirit:cellClass>sequential</spirit:cellClass>
      </spirit:cellSpecification>
      </spirit:driveConstraint>)"},
    {40, "loadConstraint",
     R"(<spirit:loadConstraint>
      <spirit:cellSpecification>
      <spirit:cellFunction>inv</spirit:cellFunction>
      </spirit:cellSpecification>
      <spirit:count>3</spirit:count>
      </spirit:loadConstraint>)"},
    {41, "constraintSet",
     R"(<spirit:constraintSet spirit:constraintSetId="fast">
      <spirit:timingConstraint spirit:clockName="clk">25</spirit:timingConstraint>
      </spirit:constraintSet>)"},
    {42, "constraintSets",
     R"(<spirit:constraintSets>
      <spirit:constraintSet>
      <spirit:vector>
      <spirit:left>3</spirit:left>
      <spirit:right>0</spirit:right>
      </spirit:vector>
      </spirit:constraintSet>
      </spirit:constraintSets>)"},
    {43, "constraintSetRef",
     R"(<spirit:constraintSetRef>fast</spirit:constraintSetRef>)"},
    {44, "defaultValue",
     R"(<spirit:defaultValue spirit:format="long">0</spirit:defaultValue>)"},
    {45, "clockDriver",
     R"(<spirit:clockDriver spirit:clockName="clk">
      <spirit:clockPeriod>10</spirit:clockPeriod>
      <spirit:clockPulseOffset>5</spirit:clockPulseOffset>
      <spirit:clockPulseValue>1</spirit:clockPulseValue>
      <spirit:clockPulseDuration>5</spirit:clockPulseDuration>
      </spirit:clockDriver>)"},
    {46, "singleShotDriver",
     R"(<spirit:singleShotDriver>
      <spirit:singleShotOffset>0</spirit:singleShotOffset>
      <spirit:singleShotValue>1</spirit:singleShotValue>
      <spirit:singleShotDuration>100</spirit:singleShotDuration>
      </spirit:singleShotDriver>)"},
    {47, "requiresDriver",
     R"(<spirit:requiresDriver spirit:driverType="clock">true</spirit:requiresDriver>)"},
    {48, "driver",
     R"(<spirit:driver><spirit:defaultValue>1</spirit:defaultValue></spirit:driver>)"},
    {49, "otherClockDriver",
     R"(<spirit:otherClockDriver spirit:clockName="ref_clk">
      <spirit:clockPeriod>8</spirit:clockPeriod>
      <spirit:clockPulseOffset>0</spirit:clockPulseOffset>
      <spirit:clockPulseValue>1</spirit:clockPulseValue>
      <spirit:clockPulseDuration>4</spirit:clockPulseDuration>
      </spirit:otherClockDriver>)"},
    {50, "file",
     R"(<spirit:file>
      <spirit:name>hdl/top.v</spirit:name>
      <spirit:fileType>verilogSource</spirit:fileType>
      </spirit:file>)"},
    {51, "fileSet",
     R"(<spirit:fileSet>
      <spirit:name>sources</spirit:name>
      <spirit:file>
      <spirit:name>a.vhd</spirit:name>
      <spirit:fileType>vhdlSource</spirit:fileType>
      </spirit:file>
      </spirit:fileSet>)"},
    {52, "executableImage",
     R"(<spirit:executableImage spirit:id="boot">
      <spirit:name>boot.elf</spirit:name>
      </spirit:executableImage>)"},
    {53, "fileSetRef",
     R"(<spirit:fileSetRef><spirit:localName>sources</spirit:localName></spirit:fileSetRef>)"},
    {54, "dependency",
     R"(<spirit:dependency>../include</spirit:dependency>)"},
    {55, "fileSets",
     R"(<spirit:fileSets>
      <spirit:fileSet>
      <spirit:name>empty</spirit:name>
      </spirit:fileSet>
      </spirit:fileSets>)"},
    {56, "generatorRef",
     R"(<spirit:generatorRef>gen</spirit:generatorRef>)"},
    {57, "generatorChain",
     R"(<spirit:generatorChain>
      <spirit:vendor>vorlix.com</spirit:vendor>
      <spirit:library>test</spirit:library>
      <spirit:name>chain</spirit:name>
      <spirit:version>1.0</spirit:version>
      <spirit:generator>
      <spirit:name>gen</spirit:name>
      <spirit:generatorExe>bin/gen</spirit:generatorExe>
      </spirit:generator>
      </spirit:generatorChain>)"},
    {58, "generator",
     R"(<spirit:generator>
      <spirit:name>gen</spirit:name>
      <spirit:phase>1.5</spirit:phase>
      <spirit:generatorExe>bin/gen</spirit:generatorExe>
      </spirit:generator>)"},
    {59, "componentGenerator",
     R"(<spirit:componentGenerator spirit:scope="entity">
      <spirit:name>gen</spirit:name>
      <spirit:generatorExe>bin/gen</spirit:generatorExe>
      <spirit:group>build</spirit:group>
      </spirit:componentGenerator>)"},
    {60, "abstractorGenerator",
     R"(<spirit:abstractorGenerator>
      <spirit:name>gen</spirit:name>
      <spirit:generatorExe>bin/gen</spirit:generatorExe>
      </spirit:abstractorGenerator>)"},
    {61, "groupSelector",
     R"(<spirit:groupSelector spirit:multipleGroupSelectionOperator="and">
      <spirit:name>build</spirit:name>
      <spirit:name>check</spirit:name>
      </spirit:groupSelector>)"},
    {62, "phase",
     R"(<spirit:phase>2.5</spirit:phase>)"},
    {63, "componentGenerators",
     R"(<spirit:componentGenerators>
      <spirit:componentGenerator>
      <spirit:name>gen</spirit:name>
      <spirit:generatorExe>bin/gen</spirit:generatorExe>
      </spirit:componentGenerator>
      </spirit:componentGenerators>)"},
    {64, "abstractorGenerators",
     R"(<spirit:abstractorGenerators>
      <spirit:abstractorGenerator>
      <spirit:name>gen</spirit:name>
      <spirit:generatorExe>bin/gen</spirit:generatorExe>
      </spirit:abstractorGenerator>
      </spirit:abstractorGenerators>)"},
    {65, "component",
     R"(<spirit:component>
      <spirit:vendor>vorlix.com</spirit:vendor>
      <spirit:library>test</spirit:library>
      <spirit:name>uart</spirit:name>
      <spirit:version>1.0</spirit:version>
      </spirit:component>)"},
    {66, "bitsInLau",
     R"(<spirit:bitsInLau>8</spirit:bitsInLau>)"},
    {67, "busInterface",
     R"(<spirit:busInterface>
      <spirit:name>S_APB</spirit:name>
      <spirit:busType spirit:vendor="amba.com" spirit:library="AMBA3" spirit:name="APB" spirit:version="r1p0"/>
      <spirit:slave/>
      </spirit:busInterface>)"},
    {68, "busInterfaces",
     R"(<spirit:busInterfaces>
      <spirit:busInterface>
      <spirit:name>IRQ</spirit:name>
      <spirit:busType spirit:vendor="v" spirit:library="l" spirit:name="irq" spirit:version="1"/>
      <spirit:master/>
      </spirit:busInterface>
      </spirit:busInterfaces>)"},
    {69, "group",
     R"(<spirit:group>build</spirit:group>)"},
    {70, "channels",
     R"(<spirit:channels>
      <spirit:channel>
      <spirit:name>ch0</spirit:name>
      <spirit:busInterfaceRef>M0</spirit:busInterfaceRef>
      <spirit:busInterfaceRef>S0</spirit:busInterfaceRef>
      </spirit:channel>
      </spirit:channels>)"},
    {71, "remapStates",
     R"(<spirit:remapStates>
      <spirit:remapState>
      <spirit:name>boot</spirit:name>
      <spirit:remapPorts>
      <spirit:remapPort spirit:portNameRef="remap">1</spirit:remapPort>
      </spirit:remapPorts>
      </spirit:remapState>
      </spirit:remapStates>)"},
    {72, "volatile",
     R"(<spirit:volatile>true</spirit:volatile>)"},
    {73, "access",
     R"(<spirit:access>read-only</spirit:access>)"},
    {74, "addressBlock",
     R"(<spirit:addressBlock>
      <spirit:name>regs</spirit:name>
      <spirit:baseAddress>0x1000</spirit:baseAddress>
      <spirit:range>4096</spirit:range>
      <spirit:width>32</spirit:width>
      </spirit:addressBlock>)"},
    {75, "addressSpaceRef",
     R"(<spirit:addressSpaceRef spirit:addressSpaceRef="main"/>)"},
    {76, "addressSpaces",
     R"(<spirit:addressSpaces>
      <spirit:addressSpace>
      <spirit:name>main</spirit:name>
      <spirit:range>4G</spirit:range>
      <spirit:width>32</spirit:width>
      </spirit:addressSpace>
      </spirit:addressSpaces>)"},
    {77, "memoryMapRef",
     R"(<spirit:memoryMapRef spirit:memoryMapRef="regs"/>)"},
    {78, "memoryMaps",
     R"(<spirit:memoryMaps>
      <spirit:memoryMap>
      <spirit:name>regs</spirit:name>
      </spirit:memoryMap>
      </spirit:memoryMaps>)"},
    {79, "bank",
     R"(<spirit:bank spirit:bankAlignment="serial">
      <spirit:name>banked</spirit:name>
      <spirit:baseAddress>0</spirit:baseAddress>
      <spirit:addressBlock>
      <spirit:name>lo</spirit:name>
      <spirit:range>256</spirit:range>
      <spirit:width>32</spirit:width>
      </spirit:addressBlock>
      </spirit:bank>)"},
    {80, "baseAddress",
     R"(<spirit:baseAddress spirit:resolve="user" spirit:id="BASE">0x4000</spirit:baseAddress>)"},
    {81, "addressUnitBits",
     R"(<spirit:addressUnitBits>8</spirit:addressUnitBits>)"},
    {82, "enumeratedValues",
     R"(<spirit:enumeratedValues>
      <spirit:enumeratedValue>
      <spirit:name>OFF</spirit:name>
      <spirit:value>0</spirit:value>
      </spirit:enumeratedValue>
      </spirit:enumeratedValues>)"},
    {83, "registerFile",
     R"(<spirit:registerFile>
      <spirit:name>channel</spirit:name>
      <spirit:addressOffset>0x40</spirit:addressOffset>
      <spirit:range>16</spirit:range>
      <spirit:register>
      <spirit:name>CTRL</spirit:name>
      <spirit:addressOffset>0</spirit:addressOffset>
      <spirit:size>32</spirit:size>
      </spirit:register>
      </spirit:registerFile>)"},
    {84, "model",
     R"(<spirit:model>
      <spirit:ports>
      <spirit:port>
      <spirit:name>clk</spirit:name>
      <spirit:wire>
      <spirit:direction>in</spirit:direction>
      </spirit:wire>
      </spirit:port>
      </spirit:ports>
      </spirit:model>)"},
    {85, "configurableElementValues",
     R"(<spirit:configurableElementValues>
      <spirit:configurableElementValue spirit:referenceId="WIDTH">16</spirit:configurableElementValue>
      </spirit:configurableElementValues>)"},
    {86, "configurableElementValue",
     R"(<spirit:configurableElementValue spirit:referenceId="DEPTH">64</spirit:configurableElementValue>)"},
    {87, "instanceName",
     R"(<spirit:instanceName>uart_0</spirit:instanceName>)"},
    {88, "componentInstance",
     R"(<spirit:componentInstance>
      <spirit:instanceName>uart_0</spirit:instanceName>
      <spirit:componentRef spirit:vendor="vorlix.com" spirit:library="peripherals" spirit:name="uart_lite" spirit:version="2.1"/>
      </spirit:componentInstance>)"},
    {89, "componentInstances",
     R"(<spirit:componentInstances>
      <spirit:componentInstance>
      <spirit:instanceName>u0</spirit:instanceName>
      <spirit:componentRef spirit:vendor="v" spirit:library="l" spirit:name="n" spirit:version="1"/>
      </spirit:componentInstance>
      </spirit:componentInstances>)"},
    {90, "adHocConnection",
     R"(<spirit:adHocConnection>
      <spirit:name>irq_net</spirit:name>
      <spirit:internalPortReference spirit:componentRef="uart_0" spirit:portRef="irq"/>
      </spirit:adHocConnection>)"},
    {91, "adHocConnections",
     R"(<spirit:adHocConnections>
      <spirit:adHocConnection>
      <spirit:name>n</spirit:name>
      <spirit:internalPortReference spirit:componentRef="a" spirit:portRef="p"/>
      </spirit:adHocConnection>
      </spirit:adHocConnections>)"},
    {92, "interconnection",
     R"(<spirit:interconnection>
      <spirit:name>apb</spirit:name>
      <spirit:activeInterface spirit:componentRef="cpu" spirit:busRef="M_APB"/>
      <spirit:activeInterface spirit:componentRef="uart_0" spirit:busRef="S_APB"/>
      </spirit:interconnection>)"},
    {93, "interconnections",
     R"(<spirit:interconnections>
      <spirit:interconnection>
      <spirit:name>apb</spirit:name>
      <spirit:activeInterface spirit:componentRef="a" spirit:busRef="m"/>
      <spirit:activeInterface spirit:componentRef="b" spirit:busRef="s"/>
      </spirit:interconnection>
      </spirit:interconnections>)"},
    {94, "monitorInterconnection",
     R"(<spirit:monitorInterconnection>
      <spirit:name>watch</spirit:name>
      <spirit:monitoredActiveInterface spirit:componentRef="cpu" spirit:busRef="M_APB"/>
      <spirit:monitorInterface spirit:componentRef="mon" spirit:busRef="MON"/>
      </spirit:monitorInterconnection>)"},
    {95, "design",
     R"(<spirit:design>
      <spirit:vendor>vorlix.com</spirit:vendor>
      <spirit:library>test</spirit:library>
      <spirit:name>soc</spirit:name>
      <spirit:version>1.0</spirit:version>
      </spirit:design>)"},
    {96, "designConfiguration",
     R"(<spirit:designConfiguration>
      <spirit:vendor>vorlix.com</spirit:vendor>
      <spirit:library>test</spirit:library>
      <spirit:name>soc_cfg</spirit:name>
      <spirit:version>1.0</spirit:version>
      <spirit:designRef spirit:vendor="vorlix.com" spirit:library="test" spirit:name="soc" spirit:version="1.0"/>
      </spirit:designConfiguration>)"},
    {97, "presence",
     R"(<spirit:presence>optional</spirit:presence>)"},
    {98, "abstractionDefinition",
     R"(<spirit:abstractionDefinition>
      <spirit:vendor>vorlix.com</spirit:vendor>
      <spirit:library>test</spirit:library>
      <spirit:name>bus_rtl</spirit:name>
      <spirit:version>1.0</spirit:version>
      <spirit:busType spirit:vendor="vorlix.com" spirit:library="test" spirit:name="bus" spirit:version="1.0"/>
      <spirit:ports>
      <spirit:port>
      <spirit:logicalName>CLK</spirit:logicalName>
      <spirit:wire/>
      </spirit:port>
      </spirit:ports>
      </spirit:abstractionDefinition>)"},
    {99, "abstractor",
     R"(<spirit:abstractor>
      <spirit:vendor>vorlix.com</spirit:vendor>
      <spirit:library>test</spirit:library>
      <spirit:name>bridge</spirit:name>
      <spirit:version>1.0</spirit:version>
      <spirit:abstractorMode>direct</spirit:abstractorMode>
      <spirit:busType spirit:vendor="vorlix.com" spirit:library="test" spirit:name="bus" spirit:version="1.0"/>
      <spirit:abstractorInterfaces>
      <spirit:abstractorInterface>
      <spirit:name>a</spirit:name>
      <spirit:abstractionType spirit:vendor="vorlix.com" spirit:library="test" spirit:name="bus_rtl" spirit:version="1.0"/>
      </spirit:abstractorInterface>
      <spirit:abstractorInterface>
      <spirit:name>b</spirit:name>
      <spirit:abstractionType spirit:vendor="vorlix.com" spirit:library="test" spirit:name="bus_rtl" spirit:version="1.0"/>
      </spirit:abstractorInterface>
      </spirit:abstractorInterfaces>
      </spirit:abstractor>)"},
};

// In the order of the vendor schema's global elements, which is their choice order.
const char* const kVendorElements[] = {
    "parameterAbstractionDefinition", "coreExtensions", "coreProperties", "parameterAbstractionMaps",
    "parameterInfo", "portInfo", "busInterfaceInfo", "memoryMapInfo", "addressBlockInfo", "addressSpaceInfo",
    "registerInfo", "viewInfo", "fileInfo", "packagingInfo", "subCoreRef", "busDefinitionInfo",
    "abstractionDefinitionInfo", "abstractionDefinitionPortInfo", "instanceProperties",
    "componentInstanceExtensions",
};

const char* const kNamespaces = " xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\""
                                " xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\"";

}  // namespace

std::vector<document> standard()
{
    std::vector<document> documents;
    for (const standard_body& b : kStandardBodies) {
        std::string root = std::string("spirit:") + b.element;
        std::string body = b.body;
        body.insert(1 + root.size(), kNamespaces);
        documents.push_back({b.choice, root, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + body + "\n"});
    }
    return documents;
}

std::vector<document> vendor()
{
    std::vector<document> documents;
    int choice = 0;
    for (const char* element : kVendorElements) {
        std::string path = std::string(IPXACT_SOURCE_DIR) + "/tests/schema/samples/" + element + ".xml";
        documents.push_back({choice++, std::string("vorlix:") + element, corpus::read_file(path)});
    }
    return documents;
}

}  // namespace global_documents
