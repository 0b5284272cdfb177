"""Event numbers that are fixed before generation.

Everything else in numbering.py is derived; these numbers are part of the
binding's published interface (the document-root dispatcher and a few event
tables that hosts and tests rely on), so they must not move when the schema
or the numbering order changes.
"""

from model import NS_SPIRIT, NS_VORLIX

SPIRIT, VORLIX = NS_SPIRIT, NS_VORLIX

# The global elements of both schemas in dispatcher order: the position in
# this list is the element's index in the root dispatcher's choice, and the
# number is its reading event.
GLOBAL_ELEMENTS = [
    (VORLIX, "parameterAbstractionDefinition", 14),  # 0
    (VORLIX, "coreExtensions", 61),  # 1
    (VORLIX, "coreProperties", 137),  # 2
    (VORLIX, "parameterAbstractionMaps", 110),  # 3
    (VORLIX, "parameterInfo", 210),  # 4
    (VORLIX, "portInfo", 218),  # 5
    (VORLIX, "busInterfaceInfo", 231),  # 6
    (VORLIX, "memoryMapInfo", 233),  # 7
    (VORLIX, "addressBlockInfo", 234),  # 8
    (VORLIX, "addressSpaceInfo", 236),  # 9
    (VORLIX, "registerInfo", 237),  # 10
    (VORLIX, "viewInfo", 238),  # 11
    (VORLIX, "fileInfo", 239),  # 12
    (VORLIX, "packagingInfo", 241),  # 13
    (VORLIX, "subCoreRef", 253),  # 14
    (VORLIX, "busDefinitionInfo", 256),  # 15
    (VORLIX, "abstractionDefinitionInfo", 258),  # 16
    (VORLIX, "abstractionDefinitionPortInfo", 259),  # 17
    (VORLIX, "instanceProperties", 262),  # 18
    (VORLIX, "componentInstanceExtensions", 289),  # 19
    (SPIRIT, "busDefinition", 293),  # 20
    (SPIRIT, "parameter", 307),  # 21
    (SPIRIT, "parameters", 312),  # 22
    (SPIRIT, "vendorExtensions", 306),  # 23
    (SPIRIT, "displayName", 308),  # 24
    (SPIRIT, "description", 305),  # 25
    (SPIRIT, "choices", 56),  # 26
    (SPIRIT, "vector", 313),  # 27
    (SPIRIT, "initiative", 316),  # 28
    (SPIRIT, "portAccessType", 317),  # 29
    (SPIRIT, "transTypeDef", 318),  # 30
    (SPIRIT, "serviceTypeDef", 322),  # 31
    (SPIRIT, "wireTypeDef", 324),  # 32
    (SPIRIT, "serviceTypeDefs", 326),  # 33
    (SPIRIT, "wireTypeDefs", 327),  # 34
    (SPIRIT, "portAccessHandle", 328),  # 35
    (SPIRIT, "port", 329),  # 36
    (SPIRIT, "cellSpecification", 350),  # 37
    (SPIRIT, "timingConstraint", 356),  # 38
    (SPIRIT, "driveConstraint", 349),  # 39
    (SPIRIT, "loadConstraint", 354),  # 40
    (SPIRIT, "constraintSet", 347),  # 41
    (SPIRIT, "constraintSets", 346),  # 42
    (SPIRIT, "constraintSetRef", 366),  # 43
    (SPIRIT, "defaultValue", 334),  # 44
    (SPIRIT, "clockDriver", 335),  # 45
    (SPIRIT, "singleShotDriver", 342),  # 46
    (SPIRIT, "requiresDriver", 367),  # 47
    (SPIRIT, "driver", 333),  # 48
    (SPIRIT, "otherClockDriver", 369),  # 49
    (SPIRIT, "file", 371),  # 50
    (SPIRIT, "fileSet", 389),  # 51
    (SPIRIT, "executableImage", 401),  # 52
    (SPIRIT, "fileSetRef", 412),  # 53
    (SPIRIT, "dependency", 386),  # 54
    (SPIRIT, "fileSets", 414),  # 55
    (SPIRIT, "generatorRef", 410),  # 56
    (SPIRIT, "generatorChain", 415),  # 57
    (SPIRIT, "generator", 423),  # 58
    (SPIRIT, "componentGenerator", 431),  # 59
    (SPIRIT, "abstractorGenerator", 432),  # 60
    (SPIRIT, "groupSelector", 419),  # 61
    (SPIRIT, "phase", 424),  # 62
    (SPIRIT, "componentGenerators", 433),  # 63
    (SPIRIT, "abstractorGenerators", 434),  # 64
    (SPIRIT, "component", 435),  # 65
    (SPIRIT, "bitsInLau", 465),  # 66
    (SPIRIT, "busInterface", 437),  # 67
    (SPIRIT, "busInterfaces", 436),  # 68
    (SPIRIT, "group", 390),  # 69
    (SPIRIT, "channels", 468),  # 70
    (SPIRIT, "remapStates", 471),  # 71
    (SPIRIT, "volatile", 488),  # 72
    (SPIRIT, "access", 365),  # 73
    (SPIRIT, "addressBlock", 485),  # 74
    (SPIRIT, "addressSpaceRef", 441),  # 75
    (SPIRIT, "addressSpaces", 477),  # 76
    (SPIRIT, "memoryMapRef", 445),  # 77
    (SPIRIT, "memoryMaps", 518),  # 78
    (SPIRIT, "bank", 514),  # 79
    (SPIRIT, "baseAddress", 442),  # 80
    (SPIRIT, "addressUnitBits", 483),  # 81
    (SPIRIT, "enumeratedValues", 497),  # 82
    (SPIRIT, "registerFile", 513),  # 83
    (SPIRIT, "model", 521),  # 84
    (SPIRIT, "configurableElementValues", 544),  # 85
    (SPIRIT, "configurableElementValue", 545),  # 86
    (SPIRIT, "instanceName", 547),  # 87
    (SPIRIT, "componentInstance", 548),  # 88
    (SPIRIT, "componentInstances", 550),  # 89
    (SPIRIT, "adHocConnection", 551),  # 90
    (SPIRIT, "adHocConnections", 559),  # 91
    (SPIRIT, "interconnection", 560),  # 92
    (SPIRIT, "interconnections", 564),  # 93
    (SPIRIT, "monitorInterconnection", 565),  # 94
    (SPIRIT, "design", 568),  # 95
    (SPIRIT, "designConfiguration", 573),  # 96
    (SPIRIT, "presence", 583),  # 97
    (SPIRIT, "abstractionDefinition", 584),  # 98
    (SPIRIT, "abstractor", 579),  # 99
]

# Element events fixed beyond the global elements.
ELEMENT_EVENTS = [(ns, local, event) for ns, local, event in GLOBAL_ELEMENTS] + [
    (SPIRIT, "busType", 438),
    (SPIRIT, "extends", 296),
    (SPIRIT, "ports", 533),
    (SPIRIT, "wire", 330),
    (SPIRIT, "transactional", 359),
    (VORLIX, "tristate_role", 260),
    (VORLIX, "group", 261),
]

# Attribute events of the configurable-value attribute set, in the set's order.
ATTRIBUTE_EVENTS = [
    (SPIRIT, "format", 39),
    (SPIRIT, "resolve", 40),
    (SPIRIT, "id", 41),
    (SPIRIT, "dependency", 42),
    (SPIRIT, "choiceRef", 43),
    (SPIRIT, "order", 44),
    (SPIRIT, "configGroups", 45),
    (SPIRIT, "bitStringLength", 46),
    (SPIRIT, "minimum", 47),
    (SPIRIT, "maximum", 48),
    (SPIRIT, "rangeType", 49),
    (SPIRIT, "prompt", 50),
]
