"""Class names that the general naming rules (naming.py) do not give.

Keys are schema places, written as build_model.py writes a class's source
path without the file name: the qualified name of the top-level component,
then one step per nested element ("spirit:portMaps") or compositor
("choice", "sequence[2]" when a content model has several of that kind).

Every entry says why it departs from the rules. An entry whose place does
not exist in the loaded schema is an error, so the table cannot go stale
silently.
"""

# Place -> (class name, reason). The class is created under this name instead
# of the one the rules would give; the name is held back from every other place.
CLASS_NAMES = {
    "spirit:libraryRefType": (
        "HIPGSLibraryRefType2",
        "the vendor type vorlix:libraryRefType holds the plain name, whether or not the "
        "vendor schema is loaded, so the standard's type keeps the same name either way"),
}

# Place -> (existing class name, reason). The place gets no class of its own:
# its content is the same as that of the named class, which serves both.
SHARED_CLASSES = {
    "spirit:abstractorInterfaceMode/spirit:system": (
        "HIPGSSystem",
        "the abstractor's interface modes repeat the bus interface's spirit:system "
        "unchanged; one class lets both hand the same object around"),
    "spirit:abstractorInterfaceMode/spirit:mirroredSystem": (
        "HIPGSMirroredSystem",
        "as spirit:system: the same content as in spirit:interfaceMode"),
}
