"""The one template helper of the emitters.

A template is text with `$name$` placeholders. `render` substitutes every
placeholder from the given values and fails loudly when one is missing or
when a value is given that the template never uses. A placeholder that stands
alone on its line takes the line's indentation for every line of a multi-line
value, and an empty value removes the line altogether, so emitters never
manage indentation or blank lines themselves. `$$` writes a single dollar.
"""

import re

_PLACEHOLDER = re.compile(r"\$([A-Za-z_][A-Za-z0-9_]*)\$")
_ALONE = re.compile(r"^([ \t]*)\$([A-Za-z_][A-Za-z0-9_]*)\$[ \t]*$")


class TemplateError(Exception):
    pass


def render(template, **values):
    used = set()
    out_lines = []
    for line in template.split("\n"):
        alone = _ALONE.match(line)
        if alone:
            indent, name = alone.groups()
            value = _lookup(values, name, used)
            if value == "":
                continue
            out_lines.extend((indent + part) if part else "" for part in value.split("\n"))
            continue
        out_lines.append(_PLACEHOLDER.sub(lambda m: _inline(values, m.group(1), used), line))
    unused = set(values) - used
    if unused:
        raise TemplateError("values not used by the template: %s" % ", ".join(sorted(unused)))
    return "\n".join(out_lines).replace("$$", "$")


def _lookup(values, name, used):
    if name not in values:
        raise TemplateError("template placeholder $%s$ has no value" % name)
    used.add(name)
    value = values[name]
    if not isinstance(value, str):
        raise TemplateError("value of $%s$ is not text: %r" % (name, value))
    return value


def _inline(values, name, used):
    value = _lookup(values, name, used)
    if "\n" in value:
        raise TemplateError("multi-line value of $%s$ must stand alone on its line" % name)
    return value
