"""Python side of the force-field engine.

The engine itself is the extension module ``PELIXInterface``; this package holds the helpers
that write its input files, the ASE calculator ``pelix.Calculator`` (needs the ``ase``
package, imported only when the calculator is first used) and the worked example.
"""

from pelix.inputs import (
    LATTICE_CODES,
    RUN_SETTINGS,
    box_is_long_enough,
    input_texts,
    lattice_in_text,
    pelix_in_text,
    potfor_in_records,
    potfor_in_text,
    read_potfor_in,
    write_inputs,
)
from pelix.tables import ELEMENT_SYMBOLS, POTENTIAL_KEYWORDS, species_symbol

__all__ = [
    "Calculator",
    "ELEMENT_SYMBOLS",
    "EngineInUseError",
    "LATTICE_CODES",
    "LostAtomError",
    "POTENTIAL_KEYWORDS",
    "RUN_SETTINGS",
    "box_is_long_enough",
    "input_texts",
    "lattice_in_text",
    "pelix_in_text",
    "potfor_in_records",
    "potfor_in_text",
    "read_potfor_in",
    "species_symbol",
    "write_inputs",
]

_CALCULATOR_NAMES = ("Calculator", "EngineInUseError", "LostAtomError")


def __getattr__(name):
    if name in _CALCULATOR_NAMES:
        try:
            from pelix import calculator
        except ModuleNotFoundError as missing:
            if missing.name != "ase" and not str(missing.name).startswith("ase."):
                raise
            raise ImportError(
                f"pelix.{name} needs ASE, which is not installed: install the package with "
                f"its ASE extra, pip install \".[ase]\" from the source tree (or pip install ase)"
            ) from missing
        return getattr(calculator, name)
    raise AttributeError(f"module 'pelix' has no attribute {name!r}")
