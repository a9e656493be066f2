"""Shared fixtures: the library called directly through ctypes (the reference
the package must agree with), and allocator hooks that count every layer
block so the session can prove that every reference taken was released."""

import ctypes
import gc
import os
from ctypes import POINTER, c_int, c_int32, c_uint32, c_void_p

import numpy as np
import pytest

import flower

FreeFunction = ctypes.CFUNCTYPE(None, c_void_p, c_void_p)
BufferAlloc = ctypes.CFUNCTYPE(c_void_p, c_int32, c_void_p, c_void_p, c_void_p)
PelAlloc = ctypes.CFUNCTYPE(c_void_p, c_uint32, c_uint32, c_void_p, c_void_p, c_void_p, c_void_p)


class Direct:
    """The C API through a ctypes handle of its own."""

    # name: result and argument codes (p pointer, i int, u unsigned 32-bit, b bool)
    PROTOTYPES = {
        "CreateCompatibleLayer": "p:piiipp", "CreateLayer": "p:ii", "DeleteLayer": "v:p",
        "ResizeLayer": "b:ppb", "CenterLayer": "i:ppb", "HorizontalFlipLayer": "b:pb",
        "VerticalFlipLayer": "b:pb", "HorizontalShiftLayer": "b:pib",
        "VerticalShiftLayer": "b:pib", "TileLayer": "b:ppiib", "InterlaceFrameLayers": "b:pppb",
        "InterlaceFieldLayers": "b:pppb", "FillLayer": "b:pu", "VisibleRegionLayer": "b:pp",
        "CreateChannel": "p:ii", "GetChannel": "b:ppi", "DeleteChannel": "v:p",
        "CreateContourFromChannel": "p:pi", "GetContourData": "p:pp", "DeleteContour": "v:p",
        "Composit": "i:pipipiii", "CompositWithOpacity": "i:pipipiiiii",
        "Fade": "i:pipiiii", "CrossFade": "i:pipipiiiii", "ShapedCrossFade": "i:pipipiiiii",
        "CrawlBlit": "i:pipiiiiiiiii", "SubpixCrawlBlit": "i:pipiiiiiiiiii",
        "ShapedSubpixCrawlBlit": "i:pipiiiiiiiiii", "GetFlowerVersion": "p:ppp",
    }
    CODES = {"p": c_void_p, "i": c_int, "u": c_uint32, "b": ctypes.c_bool, "v": None}

    def __init__(self, path):
        self.lib = ctypes.CDLL(path)
        for name, codes in self.PROTOTYPES.items():
            result, arguments = codes.split(":")
            function = getattr(self.lib, name)
            function.restype = self.CODES[result]
            function.argtypes = [self.CODES[code] for code in arguments]

    def __getattr__(self, name):
        return getattr(self.lib, name)

    def layer(self, array):
        """A layer over `array` (kept by the caller), no free function."""
        handle = self.lib.CreateCompatibleLayer(array.ctypes.data, array.shape[1],
                                                array.shape[0], array.strides[0], None, None)
        assert handle
        return handle

    def slot(self, name, *argtypes):
        return ctypes.CFUNCTYPE(c_int, *argtypes)(c_void_p.in_dll(self.lib, name).value)


@pytest.fixture(scope="session")
def direct():
    return Direct(flower.library_path)


class Counter:
    """Allocator hooks that count the blocks the library holds."""

    def __init__(self, direct):
        self.direct = direct
        self.held = {}
        self.free = FreeFunction(self._free)
        self.free_address = ctypes.cast(self.free, c_void_p).value
        self.hooks = [BufferAlloc(self._buffer(direct.lib.malloc_wrapper)),
                      BufferAlloc(self._buffer(direct.lib.calloc_wrapper)),
                      PelAlloc(self._pels(direct.lib.raw_pel_alloc)),
                      PelAlloc(self._pels(direct.lib.zero_pel_alloc))]
        for wrapper in (direct.lib.malloc_wrapper, direct.lib.calloc_wrapper):
            wrapper.restype = c_void_p
            wrapper.argtypes = [c_int32, c_void_p, c_void_p, c_void_p]
        for wrapper in (direct.lib.raw_pel_alloc, direct.lib.zero_pel_alloc):
            wrapper.restype = c_void_p
            wrapper.argtypes = [c_uint32, c_uint32, c_void_p, c_void_p, c_void_p, c_void_p]

    def _keep(self, block, out_free, out_data, free, data):
        # The default pixel allocators take their blocks through the buffer
        # hooks: such a block is counted already.
        if block and free.value != self.free_address:
            self.held[block] = (free.value, data.value)
            ctypes.cast(out_free, POINTER(c_void_p))[0] = self.free_address
            ctypes.cast(out_data, POINTER(c_void_p))[0] = None
        elif block:
            ctypes.cast(out_free, POINTER(c_void_p))[0] = free.value
            ctypes.cast(out_data, POINTER(c_void_p))[0] = data.value
        return block

    def _buffer(self, wrapper):
        def alloc(size, out_free, out_data, _data):
            free, data = c_void_p(), c_void_p()
            block = wrapper(size, ctypes.byref(free), ctypes.byref(data), None)
            return self._keep(block, out_free, out_data, free, data)
        return alloc

    def _pels(self, wrapper):
        def alloc(width, height, out_pitch, out_free, out_data, _data):
            free, data = c_void_p(), c_void_p()
            block = wrapper(width, height, out_pitch, ctypes.byref(free), ctypes.byref(data), None)
            return self._keep(block, out_free, out_data, free, data)
        return alloc

    def _free(self, block, _data):
        free, data = self.held.pop(block)
        if free:
            FreeFunction(free)(block, data)

    def install(self):
        lib = self.direct.lib
        lib.SetAllocator.argtypes = [BufferAlloc, c_void_p, BufferAlloc]
        lib.SetPelAllocator.argtypes = [PelAlloc, c_void_p, PelAlloc, c_void_p]
        lib.SetAllocator(self.hooks[0], None, self.hooks[1])
        lib.SetPelAllocator(self.hooks[2], None, self.hooks[3], None)

    def uninstall(self):
        self.direct.lib.SetAllocator(ctypes.cast(None, BufferAlloc), None,
                                     ctypes.cast(None, BufferAlloc))
        self.direct.lib.SetPelAllocator(ctypes.cast(None, PelAlloc), None,
                                        ctypes.cast(None, PelAlloc), None)


@pytest.fixture(scope="session", autouse=True)
def counted_blocks(direct):
    """Every layer object and pixel block of the session goes through counting
    hooks; at the end every one must have been released."""
    expected = os.environ.get("FLOWER_TEST_PACKAGE_ROOT")
    if expected:
        assert os.path.abspath(flower.__file__).startswith(os.path.abspath(expected)), \
            "testing %s instead of the installed package" % flower.__file__
    counter = Counter(direct)
    counter.install()
    yield counter
    gc.collect()
    leaked = len(counter.held)
    counter.uninstall()
    assert leaked == 0, "%d library blocks still held after the tests" % leaked


@pytest.fixture
def pels():
    """pels(height, width): seeded pixels of every kind of alpha (transparent,
    opaque and in between)."""
    rng = np.random.default_rng(20261124)

    def make(height, width):
        made = rng.integers(0, 256, (height, width, 4), dtype=np.uint8)
        alpha = made[:, :, 3]
        alpha[rng.random((height, width)) < 0.2] = 0
        alpha[rng.random((height, width)) < 0.2] = 255
        return made

    return make
