"""The typed vendor slots: a binding departure from the standard.

In these standard classes one vendor element inside spirit:vendorExtensions is
a typed member of the owner instead of open content. The engine fills the slot
from the open content after reading the owner and writes it first inside
spirit:vendorExtensions. The slot's class is the class of the vendor global
element, so the table names elements, not classes.
"""

from class_places import ModelError
from model import NS_VORLIX, Member, qualified

# owning class -> local name of the vendor element that becomes its typed member
TYPED_SLOTS = {
    "HIPGSBusDefinition": "busDefinitionInfo",
    "HIPGSAbstractionDefinition": "abstractionDefinitionInfo",
    "HIPGSAbstractionDefinitionPortsPort": "abstractionDefinitionPortInfo",
    "HIPGSBusInterfaceType": "busInterfaceInfo",
    "HIPGSPortType": "portInfo",
    "HIPGSAddressSpace": "addressSpaceInfo",
    "HIPGSMemoryMapType": "memoryMapInfo",
    "HIPGSAddressBlockType": "addressBlockInfo",
    "HIPGSRegister": "registerInfo",
    "HIPGSFile": "fileInfo",
    "HIPGSNameValuePairType": "parameterInfo",
    "HIPGSComponentInstance": "componentInstanceExtensions",
    "HIPGSFileSetType": "subCoreRef",
}

VENDOR_EXTENSIONS = "spirit:vendorExtensions"


class SlotError(ModelError):
    pass


def add_typed_slots(model):
    """Adds each slot member right after its owner's spirit:vendorExtensions member.

    The owners are the classes of the table and every class that carries one's content with a
    spirit:vendorExtensions of its own: the class of a global element of the owning type, and the
    classes of types derived from it. So the same XML fills the same slot whichever class reads it.
    Without the vendor schema there are no vendor classes and no slots."""
    vendor_classes = {local: class_name for ns_id, local, class_name in model.global_elements if ns_id == NS_VORLIX}
    if not vendor_classes:
        return
    for owner_name, local in sorted(TYPED_SLOTS.items()):
        owner = model.class_named(owner_name)
        if _extensions_position(owner) is None or local not in vendor_classes:
            raise SlotError("%s has no single spirit:vendorExtensions for vorlix:%s" % (owner_name, local))
    for bound in model.classes:
        local = _slot_of(model, bound)
        position = _extensions_position(bound)
        if local is None or position is None or _has_slot(bound):
            continue
        stem = local[0].upper() + local[1:]
        slot = Member(stem=stem, kind="vendor_slot", ns_id=NS_VORLIX, local_name=local,
                      qname=qualified(NS_VORLIX, local), min_occurs=0, max_occurs=1,
                      class_name=vendor_classes[local],
                      particle="%s, 0..1, typed slot inside spirit:vendorExtensions" % qualified(NS_VORLIX, local))
        bound.members.insert(position + 1, slot)


def _slot_of(model, bound):
    """The slot element of the owning class whose content `bound` carries, if any."""
    while bound is not None:
        if bound.name in TYPED_SLOTS:
            return TYPED_SLOTS[bound.name]
        bound = model.class_named(bound.content_from) if bound.content_from else None
    return None


def _extensions_position(bound):
    positions = [i for i, m in enumerate(bound.members) if m.qname == VENDOR_EXTENSIONS]
    return positions[0] if len(positions) == 1 else None


def _has_slot(bound):
    return any(m.kind == "vendor_slot" for m in bound.members)
