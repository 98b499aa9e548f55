"""Names the engine knows: its element symbols and its potential keywords.

The engine stops the whole process on an unknown element or keyword, so the Python side
checks names against these tables first and raises an ordinary exception instead.
"""

from __future__ import annotations

# Element symbols of the engine's element table, in its lookup order. Symbols are two
# characters; one-letter elements carry an underscore ("O_").
ELEMENT_SYMBOLS = (
    "H_", "He", "Li", "Be", "B_", "C_", "O_", "Na", "Mg", "Al", "Si", "P_", "Ar", "Ca", "Ti",
    "Cr", "Fe", "Ni", "Ga", "Kr", "Y_", "Zr", "Ag", "In", "Xe", "Cs", "Ce", "Er", "Hf", "Au",
    "U_", "Pu",
)

# Potential keywords of "potfor.IN", in the engine's matching order (case-sensitive).
POTENTIAL_KEYWORDS = (
    "CSIHPOT", "ACKLAND", "ACKLIST", "ACKLEAM", "ACKNIAL", "MORSEPT", "MORLIST", "ZBLPOTL",
    "SPINELP", "MGOPOTL", "EROPOTL", "MEAM", "TiOFCPT", "Qeq", "BPUPOTL", "UNTITLE",
    "GIOVANI", "TERNARY", "FeOPOTL", "ZERO", "HeFePOT", "HeHePOT", "FEIGAO", "AzizHe2",
    "MENDEL", "AMtest", "BUCKBW", "BSIPOTL", "DELAYE_POTL",
)


def species_symbol(symbol: str) -> str:
    """The engine's two-character symbol for a chemical symbol: "O" and "O_" give "O_",
    "Fe" gives "Fe". Raises ValueError for an element outside the engine's table."""
    if not isinstance(symbol, str):
        raise TypeError(f"element symbol must be a string, got {symbol!r}")
    engine = symbol + "_" if len(symbol) == 1 else symbol
    if engine not in ELEMENT_SYMBOLS:
        known = " ".join(s.rstrip("_") for s in ELEMENT_SYMBOLS)
        raise ValueError(f"element {symbol!r} is not in the engine's element table ({known})")
    return engine


def potential_keyword(keyword: str) -> str:
    """The keyword itself when the engine's catalogue has it; ValueError otherwise."""
    if keyword not in POTENTIAL_KEYWORDS:
        hint = [k for k in POTENTIAL_KEYWORDS if k.lower() == str(keyword).lower()]
        extra = f" (did you mean {hint[0]!r}? keywords are case-sensitive)" if hint else ""
        raise ValueError(
            f"potential keyword {keyword!r} is not in the catalogue{extra}; known keywords: "
            + " ".join(POTENTIAL_KEYWORDS)
        )
    return keyword
