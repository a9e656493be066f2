"""Contours of 8-bit masks as NumPy point arrays."""

import ctypes

import numpy as np

from . import _check
from ._capi import lib
from .errors import FlowerError


def contours(mask, threshold=128):
    """The outlines of the samples of ``mask`` (an ``H x W`` ``uint8`` array,
    read in place) that are at least ``threshold`` (clamped to 1..255).

    Returns a list of ``N x 2`` ``int32`` arrays of (x, y) corners on the
    lattice of pixel corners, one closed loop each
    (``CreateContourFromChannelAccess``, ``GetContourData``): only turning
    corners, x right and y down, outer boundaries with a positive shoelace
    area and holes with a negative one; inside samples are 8-connected.
    """
    if not isinstance(mask, np.ndarray):
        raise TypeError("contours needs a numpy.ndarray, not %s" % type(mask).__name__)
    if mask.dtype != np.uint8:
        raise TypeError("contours needs dtype uint8, not %s" % mask.dtype)
    if mask.ndim != 2:
        raise ValueError("contours needs an H x W array, not shape %s" % (mask.shape,))
    height = _check.size("mask height", mask.shape[0])
    width = _check.size("mask width", mask.shape[1])
    if mask.strides[1] != 1:
        mask = np.ascontiguousarray(mask)
    pitch = _check.integer("mask row pitch", mask.strides[0] if height > 1 else width)
    threshold = _check.integer("threshold", threshold)
    contour = lib.CreateContourFromChannelAccess(mask.ctypes.data, width, height, pitch, threshold)
    if not contour:
        raise FlowerError("CreateContourFromChannelAccess")
    try:
        length = ctypes.c_int()
        data = lib.GetContourData(contour, ctypes.byref(length))
        if not data:
            raise FlowerError("GetContourData")
        flat = np.ctypeslib.as_array(data, shape=(length.value,)).astype(np.int32)
    finally:
        lib.DeleteContour(contour)
    loops, at = [], 1
    for _ in range(int(flat[0])):
        count = int(flat[at])
        loops.append(flat[at + 1:at + 1 + 2 * count].reshape(count, 2).copy())
        at += 1 + 2 * count
    return loops
