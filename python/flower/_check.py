"""Argument checks shared by the package: bad arguments raise ValueError or
TypeError with a message before anything reaches the library."""

import numbers

INT32_MIN = -(2 ** 31)
INT32_MAX = 2 ** 31 - 1


def integer(name, value, low=INT32_MIN, high=INT32_MAX):
    if isinstance(value, bool) or not isinstance(value, numbers.Integral):
        raise TypeError("%s must be an integer, not %s" % (name, type(value).__name__))
    value = int(value)
    if not low <= value <= high:
        raise ValueError("%s must be in %d..%d, not %d" % (name, low, high, value))
    return value


def size(name, value):
    return integer(name, value, 1, INT32_MAX)


def real(name, value):
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError("%s must be a number, not %s" % (name, type(value).__name__))
    value = float(value)
    if value != value or value in (float("inf"), float("-inf")):
        raise ValueError("%s must be finite" % name)
    return value


def fixed_point(name, value):
    """Splits a position into a whole part and 1/256 steps (0..255), rounding
    to the nearest step."""
    value = real(name, value)
    steps = round(value * 256)
    whole, fraction = divmod(steps, 256)
    integer(name, whole)
    return whole, fraction
