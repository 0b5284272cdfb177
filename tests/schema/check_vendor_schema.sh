#!/usr/bin/env bash
# Checks the vendor schema against hand-written documents:
#   - its global elements are exactly the twenty vendor document roots,
#     and each root has at least one sample;
#   - every sample in tests/schema/samples/ validates;
#   - every sample in tests/schema/samples/invalid/ is rejected by schema
#     validation (not by a parse error) for the reason its
#     "expect-error:" comment names, so a sample cannot pass by failing for
#     some unrelated fault;
#   - parameterAbstractionType declares exactly its attributes, in the order
#     the binding writes them, and nothing else (no attribute group, no
#     wildcard). Validation cannot see attribute order, so it is read from
#     the schema text, which is what the binding generator reads too.
# Exits non-zero on any unexpected result. Runs from any directory.

set -u

repo_root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
cd "$repo_root" || exit 1

ieee_schema_dir="../shared/ipxact-1685-2009"
schema="schema/vorlix.xsd"
samples_dir="tests/schema/samples"
invalid_dir="$samples_dir/invalid"
vorlix_ns="http://www.vorlix.com/XMLSchema/ipxact/1.0"
spirit_ns="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"

# xmllint's exit status for a document that parsed but failed validation.
readonly XMLLINT_INVALID=3

expected_roots="parameterAbstractionDefinition coreExtensions coreProperties
parameterAbstractionMaps parameterInfo portInfo busInterfaceInfo memoryMapInfo
addressBlockInfo addressSpaceInfo registerInfo viewInfo fileInfo packagingInfo
subCoreRef busDefinitionInfo abstractionDefinitionInfo
abstractionDefinitionPortInfo instanceProperties componentInstanceExtensions"

if [ ! -d "$ieee_schema_dir" ]; then
  echo "SKIP: $ieee_schema_dir not found; the vendor schema imports the IEEE 1685-2009 schema from there."
  exit 0
fi
if ! command -v xmllint >/dev/null 2>&1; then
  echo "FAIL: xmllint not found (Debian package libxml2-utils)."
  exit 1
fi

passed=0
failed=0

pass() { passed=$((passed + 1)); echo "PASS: $1"; }
fail() { failed=$((failed + 1)); echo "FAIL: $1"; [ $# -gt 1 ] && printf '%s\n' "$2" | sed 's/^/    /'; }

sorted_words() { tr -s ' \n' '\n\n' | sed '/^$/d' | sort; }

check_global_elements() {
  local declared
  declared="$(xmllint --xpath "/*[local-name()='schema']/*[local-name()='element']/@name" schema/*.xsd 2>/dev/null \
              | grep -o 'name="[^"]*"' | sed 's/^name="//; s/"$//' | sorted_words)"
  local expected
  expected="$(printf '%s\n' "$expected_roots" | sorted_words)"
  if [ "$declared" = "$expected" ]; then
    pass "global elements are exactly the 20 vendor roots"
  else
    fail "global elements differ from the 20 vendor roots" "$(diff <(printf '%s\n' "$expected") <(printf '%s\n' "$declared"))"
  fi
}

# The attributes of a parameter abstraction in written order: the naming and
# provision attributes, the standard's twelve configurable-value attributes,
# then the description and the propagation settings.
parameter_abstraction_attributes="vorlix:logicalName vorlix:provision vorlix:default
vorlix:required vorlix:displayName spirit:format spirit:resolve spirit:id
spirit:dependency spirit:choiceRef spirit:order spirit:configGroups
spirit:bitStringLength spirit:minimum spirit:maximum spirit:rangeType
spirit:prompt vorlix:description vorlix:propagationSource
vorlix:propagationConflictSeverity"

# One word per child of the named complex type: "vorlix:NAME" for a local
# attribute, the referenced name for an attribute reference, and the element
# name itself (xs:anyAttribute, xs:attributeGroup, ...) for anything else.
complex_type_children() {
  xmllint --xpath "/*[local-name()='schema']/*[local-name()='complexType'][@name='$1']/*" schema/*.xsd 2>/dev/null \
    | sed -En 's/^<xs:attribute [^>]*name="([^"]*)".*/vorlix:\1/p; t; s/^<xs:attribute [^>]*ref="([^"]*)".*/\1/p; t; s/^<([^ >\/]*).*/\1/p'
}

check_parameter_abstraction_attributes() {
  local declared expected
  declared="$(complex_type_children parameterAbstractionType)"
  expected="$(printf '%s\n' "$parameter_abstraction_attributes" | tr -s ' \n' '\n\n' | sed '/^$/d')"
  if [ "$declared" = "$expected" ]; then
    pass "parameterAbstractionType declares its attributes in written order, without a wildcard"
  else
    fail "parameterAbstractionType attributes differ from the written order" "$(diff <(printf '%s\n' "$expected") <(printf '%s\n' "$declared"))"
  fi
}

root_name() { xmllint --xpath "local-name(/*)" "$1" 2>/dev/null; }

check_every_root_has_a_sample() {
  local covered root missing=""
  covered="$(for f in "$samples_dir"/*.xml; do root_name "$f"; echo; done | sort -u)"
  for root in $expected_roots; do
    printf '%s\n' "$covered" | grep -qx "$root" || missing="$missing $root"
  done
  if [ -z "$missing" ]; then
    pass "every vendor root has a valid sample"
  else
    fail "vendor roots without a valid sample:$missing"
  fi
}

declares_both_namespaces() {
  grep -q "xmlns:vorlix=\"$vorlix_ns\"" "$1" && grep -q "xmlns:spirit=\"$spirit_ns\"" "$1"
}

check_valid_sample() {
  local sample="$1" output
  if ! declares_both_namespaces "$sample"; then
    fail "$sample does not declare both the vorlix and spirit namespaces"
    return
  fi
  if output="$(xmllint --noout --schema "$schema" "$sample" 2>&1)"; then
    pass "$sample validates"
  else
    fail "$sample should validate" "$output"
  fi
}

expected_error_of() { sed -n 's/^<!-- expect-error: \(.*\) -->$/\1/p' "$1" | head -n 1; }

check_invalid_sample() {
  local sample="$1" expected output status
  expected="$(expected_error_of "$sample")"
  if [ -z "$expected" ]; then
    fail "$sample has no '<!-- expect-error: ... -->' comment"
    return
  fi
  output="$(xmllint --noout --schema "$schema" "$sample" 2>&1)"
  status=$?
  if [ "$status" -ne "$XMLLINT_INVALID" ]; then
    fail "$sample should fail validation (xmllint status $XMLLINT_INVALID), got status $status" "$output"
  elif ! printf '%s\n' "$output" | grep -qF -- "$expected"; then
    fail "$sample was rejected for another reason than '$expected'" "$output"
  else
    pass "$sample is rejected: $expected"
  fi
}

check_global_elements
check_every_root_has_a_sample
check_parameter_abstraction_attributes
for sample in "$samples_dir"/*.xml; do
  check_valid_sample "$sample"
done
for sample in "$invalid_dir"/*.xml; do
  check_invalid_sample "$sample"
done

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
