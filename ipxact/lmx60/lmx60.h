// The lmx60 XML data-binding runtime: reader, writer, value types, holders and front ends.
#ifndef IPXACT_LMX60_LMX60_H
#define IPXACT_LMX60_LMX60_H

#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/c_big_int.h>
#include <ipxact/lmx60/c_date.h>
#include <ipxact/lmx60/c_unmarshal_helper.h>
#include <ipxact/lmx60/c_xml.h>
#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/c_xml_writer.h>
#include <ipxact/lmx60/lmx60_convert.h>
#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_frontends.h>
#include <ipxact/lmx60/lmx60_holders.h>
#include <ipxact/lmx60/lmx60_regexp.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/lmx60/lmx60_types.h>
#include <ipxact/lmx60/lmx60_validation.h>

#endif
