"""The oracles, by the tables of the reference."""

from oracles import aggregates, along, element_wise, groups, make, select, time

ORACLES = {**make.ORACLES, **element_wise.ORACLES, **along.ORACLES, **select.ORACLES}
ORACLES |= {**aggregates.ORACLES, **groups.ORACLES, **time.ORACLES}

# Functions that have an oracle and no entry in the catalog, or the other way round.
PENDING = set()
