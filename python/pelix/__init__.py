"""Python side of the force-field engine.

The engine itself is the extension module ``PELIXInterface``; this package holds the helpers
that write its input files and the worked examples.
"""

from pelix.inputs import lattice_in_text, pelix_in_text, potfor_in_text, write_inputs

__all__ = ["lattice_in_text", "pelix_in_text", "potfor_in_text", "write_inputs"]
