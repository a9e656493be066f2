"""ctypes declarations of the parts of libflower the package calls.

The library is looked for, in this order: the file named by the environment
variable FLOWER_LIBRARY; the library that cmake --install put beside this
package (its path from here is in _location.py, written by the build); the
system loader's search for libflower.so.1 (LD_LIBRARY_PATH, ld.so.cache).
"""

import ctypes
import os

_HERE = os.path.dirname(os.path.abspath(__file__))
SONAME = "libflower.so.1"


def _candidates():
    explicit = os.environ.get("FLOWER_LIBRARY")
    if explicit:
        return [explicit]
    found = []
    try:
        from . import _location

        found.append(os.path.normpath(os.path.join(_HERE, _location.LIBRARY)))
    except ImportError:
        pass
    found.append(SONAME)
    return found


def _load():
    errors = []
    for candidate in _candidates():
        try:
            return ctypes.CDLL(candidate), candidate
        except OSError as error:
            errors.append(str(error))
    raise ImportError(
        "flower: cannot load %s (set FLOWER_LIBRARY to its path): %s" % (SONAME, "; ".join(errors))
    )


lib, library_path = _load()

c_int = ctypes.c_int
c_bool = ctypes.c_bool
c_void_p = ctypes.c_void_p
c_char_p = ctypes.c_char_p
c_uint = ctypes.c_uint
c_uint32 = ctypes.c_uint32
P = ctypes.POINTER


class LayerRegion(ctypes.Structure):
    _fields_ = [("x", ctypes.c_int32), ("y", ctypes.c_int32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32)]


class LayerAccess(ctypes.Structure):
    _fields_ = [("pixels", c_void_p), ("rowBytes", ctypes.c_int32), ("region", LayerRegion),
                ("layer", c_void_p), ("token", c_void_p)]


class Channel(ctypes.Structure):
    pass


Channel._fields_ = [("data", c_void_p), ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                    ("rowBytes", ctypes.c_int32), ("parent", P(Channel)), ("ownsData", c_bool)]

FreeFunction = ctypes.CFUNCTYPE(None, c_void_p, c_void_p)

_PROTOTYPES = {
    # name: (result, argument types)
    "GetFlowerVersion": (c_char_p, [P(c_int), P(c_int), P(c_int)]),
    "FlowerInit": (c_bool, []),
    "CreateLayer": (c_void_p, [c_int, c_int]),
    "CreateCompatibleLayer": (c_void_p, [c_void_p, c_int, c_int, c_int, FreeFunction, c_void_p]),
    "DeleteLayer": (None, [c_void_p]),
    "AddRefCountLayer": (c_void_p, [c_void_p]),
    "DuplicateLayer": (c_void_p, [c_void_p]),
    "CreateClippedLayer": (c_void_p, [c_void_p]),
    "ClipLayer": (c_bool, [c_void_p, P(LayerRegion)]),
    "BeginRegionAccessLayer": (c_bool, [P(LayerAccess), c_void_p, P(LayerRegion)]),
    "BeginAccessLayer": (c_bool, [P(LayerAccess), c_void_p]),
    "EndAccessLayer": (c_bool, [P(LayerAccess)]),
    "GetLayerRegion": (c_bool, [c_void_p, P(LayerRegion)]),
    "GetValidLayerRegion": (c_bool, [c_void_p, P(LayerRegion)]),
    "UpdateLayer": (c_bool, [c_void_p, P(LayerRegion)]),
    "ResizeLayer": (c_bool, [c_void_p, c_void_p, c_bool]),
    "CenterLayer": (c_int, [c_void_p, c_void_p, c_bool]),
    "HorizontalFlipLayer": (c_bool, [c_void_p, c_bool]),
    "VerticalFlipLayer": (c_bool, [c_void_p, c_bool]),
    "HorizontalShiftLayer": (c_bool, [c_void_p, c_int, c_bool]),
    "VerticalShiftLayer": (c_bool, [c_void_p, c_int, c_bool]),
    "TileLayer": (c_bool, [c_void_p, c_void_p, c_int, c_int, c_bool]),
    "VisibleRegionLayer": (c_bool, [c_void_p, P(LayerRegion)]),
    "InterlaceFrameLayers": (c_bool, [c_void_p, c_void_p, c_void_p, c_bool]),
    "InterlaceFieldLayers": (c_bool, [c_void_p, c_void_p, c_void_p, c_bool]),
    "CreateFlower": (c_void_p, []),
    "FillLayer": (c_bool, [c_void_p, c_uint32]),
    "CreateChannel": (P(Channel), [c_int, c_int]),
    "DeleteChannel": (None, [P(Channel)]),
    "GetChannel": (c_bool, [P(Channel), c_void_p, c_int]),
    "CreateContourFromChannelAccess": (c_void_p, [c_void_p, c_int, c_int, c_int, c_int]),
    "GetContourData": (P(c_int), [c_void_p, P(c_int)]),
    "DeleteContour": (None, [c_void_p]),
    "Composit": (c_int, [c_void_p, c_int, c_void_p, c_int, c_void_p, c_int, c_int, c_int]),
    "CompositWithOpacity": (c_int, [c_void_p, c_int, c_void_p, c_int, c_void_p, c_int, c_int,
                                    c_int, c_int, c_int]),
    "Fade": (c_int, [c_void_p, c_int, c_void_p, c_int, c_int, c_int, c_int]),
    "CrossFade": (c_int, [c_void_p, c_int, c_void_p, c_int, c_void_p, c_int, c_int, c_int,
                          c_int, c_int]),
    "ShapedCrossFade": (c_int, [c_void_p, c_int, c_void_p, c_int, c_void_p, c_int, c_int, c_int,
                                c_int, c_int]),
    "CrawlBlit": (c_int, [c_void_p, c_int, c_void_p, c_int] + [c_int] * 8),
    "SubpixCrawlBlit": (c_int, [c_void_p, c_int, c_void_p, c_int] + [c_int] * 9),
    "ShapedSubpixCrawlBlit": (c_int, [c_void_p, c_int, c_void_p, c_int] + [c_int] * 9),
}

for _name, (_result, _arguments) in _PROTOTYPES.items():
    _function = getattr(lib, _name)
    _function.restype = _result
    _function.argtypes = _arguments

# The roll routines are replaceable slots: exported pointers read at each call.
RollCopyData = ctypes.CFUNCTYPE(c_int, c_void_p, c_void_p, *([c_int] * 11))
RollBlastDataSubPix = ctypes.CFUNCTYPE(c_int, c_void_p, c_void_p, *([c_int] * 13))
RollBlastDataSubPixNoFilter = ctypes.CFUNCTYPE(c_int, c_void_p, c_void_p, *([c_int] * 12))


def slot(name, prototype):
    """The routine now in the buffer routine slot `name`."""
    return prototype(c_void_p.in_dll(lib, name).value)


lib.FlowerInit()
