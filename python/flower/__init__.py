"""Flower: 2-D raster operations for video titling, from Python.

A thin layer over libflower (loaded with ctypes; see ``flower.library_path``):
:class:`Layer` holds a picture of B, G, R, A bytes with straight alpha that
NumPy sees as an ``H x W x 4`` ``uint8`` array, and offers the library's
operations as methods: compositing with opacity, fades and cross-fades,
crawl and roll frames with sub-pixel positions and fade zones, resizing,
flips, shifts, tiling, centring, interlacing, channels and contours.

>>> import numpy, flower
>>> frame = flower.Layer(64, 32).fill(flower.pel(0, 0, 0))
>>> with flower.Layer.from_array(numpy.full((8, 8, 4), 255, numpy.uint8)) as white:
...     _ = frame.composite(white, x=4, y=4, opacity=128)
>>> frame.array[4, 4].tolist()
[128, 128, 128, 255]
"""

import ctypes as _ctypes

from ._capi import lib as _lib, library_path
from .channel import contours
from .errors import FlowerError
from .layer import CHANNELS, Layer, pel


def _version():
    major, minor, patch = _ctypes.c_int(), _ctypes.c_int(), _ctypes.c_int()
    text = _lib.GetFlowerVersion(_ctypes.byref(major), _ctypes.byref(minor), _ctypes.byref(patch))
    return text.decode("ascii"), (major.value, minor.value, patch.value)


#: The version of the loaded library, "MAJOR.MINOR.PATCH" (``GetFlowerVersion``).
__version__, version_info = _version()

__all__ = ["CHANNELS", "FlowerError", "Layer", "contours", "library_path", "pel",
           "version_info", "__version__"]
