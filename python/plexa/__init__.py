from ._plexa import *  # noqa
