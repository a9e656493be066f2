"""Layers: reference-counted pictures of B, G, R, A bytes, shared with NumPy."""

import ctypes
import itertools

import numpy as np

from . import _capi
from . import _check
from ._capi import lib, LayerAccess, LayerRegion
from .errors import FlowerError

CHANNELS = {"blue": 0, "green": 1, "red": 2, "alpha": 3, "luminance": 4, "luma": 5}

# Arrays lent to the library as layer pixels, by the key handed to it as the
# free datum; the library's free call gives them back.
_lent_arrays = {}
_lent_keys = itertools.count(1)


@_capi.FreeFunction
def _return_lent_array(_block, key, _lent=_lent_arrays):
    _lent.pop(key, None)


class _Reference:
    """One reference on a library layer, released once."""

    __slots__ = ("handle", "__weakref__")

    def __init__(self, handle):
        self.handle = handle

    # Bound now: finalisers may run while the interpreter tears modules down.
    def release(self, _delete=lib.DeleteLayer):
        handle, self.handle = self.handle, None
        if handle:
            _delete(handle)

    __del__ = release


def _region(x, y, width, height):
    return LayerRegion(x, y, width, height)


def _intersect(a, b):
    left, top = max(a.x, b.x), max(a.y, b.y)
    right = min(a.x + a.width, b.x + b.width)
    bottom = min(a.y + a.height, b.y + b.height)
    if right <= left or bottom <= top:
        return _region(0, 0, 0, 0)
    return _region(left, top, right - left, bottom - top)


class _Access:
    """An open access on one layer (BeginRegionAccessLayer .. EndAccessLayer)."""

    def __init__(self, layer, region):
        self.record = LayerAccess()
        if not lib.BeginRegionAccessLayer(ctypes.byref(self.record), layer._handle,
                                          ctypes.byref(region)):
            raise FlowerError("BeginRegionAccessLayer")

    def __enter__(self):
        return self.record

    def __exit__(self, *exc):
        if not lib.EndAccessLayer(ctypes.byref(self.record)):
            raise FlowerError("EndAccessLayer")


def _pel(name, colour):
    return _check.integer(name, colour, 0, 0xFFFFFFFF)


def _layer_argument(name, value):
    if not isinstance(value, Layer):
        raise TypeError("%s must be a flower.Layer, not %s" % (name, type(value).__name__))
    value._live()
    return value


class Layer:
    """A picture of ``height`` rows of ``width`` pixels, each four bytes B, G,
    R, A with straight (not premultiplied) alpha: the library's layer.

    A Layer owns one reference on its library layer and releases it on
    :meth:`close`, at the end of a ``with`` block, or when it is garbage
    collected. Views of its pixels (:attr:`array`) hold references of their
    own, so they stay valid after the layer is closed.

    ``Layer(width, height)`` makes a transparent black layer
    (``CreateLayer``). Other constructors: :meth:`from_array`,
    :meth:`sample`, :meth:`duplicate`, :meth:`resize`, :meth:`clip`.

    Operations that change the layer work in place and return the layer, so
    calls chain. Failed library calls raise :class:`flower.FlowerError`
    naming the call; bad arguments raise ``ValueError`` or ``TypeError``.
    """

    def __init__(self, width, height):
        width = _check.size("width", width)
        height = _check.size("height", height)
        self._take(lib.CreateLayer(width, height), "CreateLayer(%d, %d)" % (width, height))

    @classmethod
    def _adopt(cls, handle, call):
        layer = cls.__new__(cls)
        layer._take(handle, call)
        return layer

    def _take(self, handle, call):
        if not handle:
            self._reference = None
            raise FlowerError(call)
        self._reference = _Reference(handle)

    # --- lifetime --------------------------------------------------------------

    @property
    def _handle(self):
        return self._live()._reference.handle

    def _live(self):
        if getattr(self, "_reference", None) is None or self._reference.handle is None:
            raise ValueError("the layer is closed")
        return self

    @property
    def closed(self):
        """True once :meth:`close` has released the layer."""
        return getattr(self, "_reference", None) is None or self._reference.handle is None

    def close(self):
        """Releases the layer's reference (``DeleteLayer``). Further use of the
        layer raises ValueError; closing twice does nothing."""
        if getattr(self, "_reference", None) is not None:
            self._reference.release()

    def __enter__(self):
        return self._live()

    def __exit__(self, *exc):
        self.close()

    def __repr__(self):
        if self.closed:
            return "<flower.Layer closed>"
        return "<flower.Layer %dx%d>" % (self.width, self.height)

    # --- construction ----------------------------------------------------------

    @classmethod
    def from_array(cls, array, copy=False):
        """A layer over an ``H x W x 4`` ``uint8`` array of B, G, R, A pixels.

        Without ``copy`` the layer uses the array's memory
        (``CreateCompatibleLayer``): writes through either show in both, and
        the layer keeps the array alive until the library releases it. That
        needs whole pixels in rows (strides ``(pitch, 4, 1)``, any positive
        pitch that is a multiple of 4, so a crop of a larger array works),
        4-byte alignment and a writable array; anything else raises
        ValueError unless ``copy=True``, which always copies into a new layer.
        """
        if not isinstance(array, np.ndarray):
            raise TypeError("from_array needs a numpy.ndarray, not %s" % type(array).__name__)
        if array.dtype != np.uint8:
            raise TypeError("from_array needs dtype uint8, not %s" % array.dtype)
        if array.ndim != 3 or array.shape[2] != 4:
            raise ValueError("from_array needs an H x W x 4 array (B, G, R, A), not shape %s"
                             % (array.shape,))
        height = _check.size("array height", array.shape[0])
        width = _check.size("array width", array.shape[1])
        if copy:
            layer = cls(width, height)
            layer.array[...] = array
            return layer
        pitch = array.strides[0] if height > 1 else width * 4
        if array.strides[1:] != (4, 1) or pitch < width * 4 or pitch % 4:
            raise ValueError("the array's pixels are not contiguous rows (strides %s); "
                             "pass copy=True to copy it" % (array.strides,))
        if array.ctypes.data % 4:
            raise ValueError("the array is not 4-byte aligned; pass copy=True to copy it")
        if not array.flags.writeable:
            raise ValueError("the array is read-only; pass copy=True to copy it")
        _check.integer("array row pitch", pitch)
        key = next(_lent_keys)
        _lent_arrays[key] = array
        handle = lib.CreateCompatibleLayer(array.ctypes.data, width, height, pitch,
                                           _return_lent_array, key)
        if not handle:
            _lent_arrays.pop(key, None)
        return cls._adopt(handle, "CreateCompatibleLayer(%d, %d)" % (width, height))

    @classmethod
    def sample(cls):
        """The library's 768 x 512 opaque sample picture, as a new layer (``CreateFlower``)."""
        return cls._adopt(lib.CreateFlower(), "CreateFlower")

    def duplicate(self):
        """A new layer holding a copy of this one's pixels (``DuplicateLayer``)."""
        return Layer._adopt(lib.DuplicateLayer(self._handle), "DuplicateLayer")

    def clip(self, x, y, width, height):
        """A view of the rectangle (x, y, width, height) of this layer, in
        coordinates starting at its corner (``CreateClippedLayer``,
        ``ClipLayer``). It shares the pixels and keeps this layer alive; the
        part outside this layer has no pixels."""
        clip = _region(_check.integer("x", x), _check.integer("y", y),
                       _check.size("width", width), _check.size("height", height))
        view = Layer._adopt(lib.CreateClippedLayer(self._handle), "CreateClippedLayer")
        if not lib.ClipLayer(view._handle, ctypes.byref(clip)):
            view.close()
            raise FlowerError("ClipLayer")
        return view

    # --- size and pixels -------------------------------------------------------

    def region(self):
        """The layer's extent as (x, y, width, height) (``GetLayerRegion``)."""
        r = LayerRegion()
        if not lib.GetLayerRegion(self._handle, ctypes.byref(r)):
            raise FlowerError("GetLayerRegion")
        return (r.x, r.y, r.width, r.height)

    def _valid(self):
        r = LayerRegion()
        if not lib.GetValidLayerRegion(self._handle, ctypes.byref(r)):
            raise FlowerError("GetValidLayerRegion")
        return r

    def valid_region(self):
        """The part of the extent backed by pixels, (x, y, width, height)
        (``GetValidLayerRegion``); the whole layer unless it is a clipped view."""
        r = self._valid()
        return (r.x, r.y, r.width, r.height)

    @property
    def width(self):
        return self.region()[2]

    @property
    def height(self):
        return self.region()[3]

    @property
    def shape(self):
        """(height, width, 4), as NumPy orders it."""
        return (self.height, self.width, 4)

    @property
    def array(self):
        """A ``uint8`` view ``H x W x 4`` (B, G, R, A) of the valid pixels.

        Writing to it writes the layer. The view holds its own reference on
        the layer, so it stays valid after :meth:`close`.
        """
        valid = self._valid()
        with _Access(self, valid) as access:
            width, height, pitch = access.region.width, access.region.height, access.rowBytes
            address = access.pixels
        if width < 1 or height < 1:
            return np.zeros((0, 0, 4), np.uint8)
        if pitch < width * 4:
            raise FlowerError("BeginRegionAccessLayer", "row pitch %d cannot be viewed" % pitch)
        size = (height - 1) * pitch + width * 4
        memory = (ctypes.c_uint8 * size).from_address(address)
        memory.owner = _Reference(lib.AddRefCountLayer(self._handle))
        if not memory.owner.handle:
            raise FlowerError("AddRefCountLayer")
        return np.ndarray((height, width, 4), np.uint8, buffer=memory, strides=(pitch, 4, 1))

    def to_array(self):
        """A copy of the valid pixels as a new ``H x W x 4`` ``uint8`` array."""
        return self.array.copy()

    def fill(self, colour):
        """Sets every pixel to ``colour``, a Pel 0xAARRGGBB (see :func:`flower.pel`) (``FillLayer``)."""
        if not lib.FillLayer(self._handle, _pel("colour", colour)):
            raise FlowerError("FillLayer")
        return self

    def visible_region(self):
        """The bounding box (x, y, width, height) of the pixels whose alpha is
        not 0, or (0, 0, 0, 0) (``VisibleRegionLayer``; like it, the last
        column of each row is not examined)."""
        r = LayerRegion()
        if not lib.VisibleRegionLayer(self._handle, ctypes.byref(r)):
            raise FlowerError("VisibleRegionLayer")
        return (r.x, r.y, r.width, r.height)

    # --- compositing, fades and mixes ------------------------------------------

    def _update(self, region):
        lib.UpdateLayer(self._handle, ctypes.byref(region))

    def composite(self, top, x=0, y=0, opacity=255):
        """Composites ``top`` over this layer with its top-left corner at
        (x, y) and its alpha scaled by ``opacity`` (0..255, truncating).

        Only the rectangle where the two overlap changes. The pixels are
        those of the buffer routine ``CompositWithOpacity`` (bottom opacity
        255): top over bottom as ``CompositPel`` does, through the accesses of
        both layers; the layer's update functions are told of the rectangle.
        """
        top = _layer_argument("top", top)
        x, y = _check.integer("x", x), _check.integer("y", y)
        opacity = _check.integer("opacity", opacity, 0, 255)
        placed = top._valid()
        placed.x += x
        placed.y += y
        area = _intersect(self._valid(), placed)
        if area.width < 1:
            return self
        source = _region(area.x - x, area.y - y, area.width, area.height)
        with _Access(self, area) as dst, _Access(top, source) as src:
            lib.CompositWithOpacity(dst.pixels, dst.rowBytes, dst.pixels, dst.rowBytes,
                                    src.pixels, src.rowBytes, area.width, area.height,
                                    255, opacity)
            self._update(dst.region)
        return self

    def _common(self, *others):
        area = self._valid()
        for other in others:
            area = _intersect(area, other._valid())
        return area

    def fade(self, level, source=None):
        """Scales alpha by ``level``/256 (0..256, truncating), keeping colour
        (buffer routine ``Fade``). With ``source`` the result is the faded
        source, over the rectangle the two layers share from (0, 0)."""
        level = _check.integer("level", level, 0, 256)
        source = self if source is None else _layer_argument("source", source)
        area = self._common(source)
        if area.width < 1:
            return self
        with _Access(self, area) as dst, _Access(source, area) as src:
            lib.Fade(dst.pixels, dst.rowBytes, src.pixels, src.rowBytes, area.width,
                     area.height, level)
            self._update(dst.region)
        return self

    def cross_fade(self, a, b, level, shaped=False):
        """This layer becomes the mix of ``a`` (weight 256 - level) and ``b``
        (weight ``level``, 0..256) over the rectangle all three share from
        (0, 0): an alpha-weighted mix of straight colours (``CrossFade``), or
        with ``shaped=True`` a linear mix of all four channels for pixels whose
        colour is already weighted by their shape (``ShapedCrossFade``)."""
        a, b = _layer_argument("a", a), _layer_argument("b", b)
        level = _check.integer("level", level, 0, 256)
        routine = lib.ShapedCrossFade if shaped else lib.CrossFade
        area = self._common(a, b)
        if area.width < 1:
            return self
        with _Access(self, area) as dst, _Access(a, area) as pa, _Access(b, area) as pb:
            routine(dst.pixels, dst.rowBytes, pa.pixels, pa.rowBytes, pb.pixels, pb.rowBytes,
                    area.width, area.height, 256 - level, level)
            self._update(dst.region)
        return self

    # --- crawls and rolls ------------------------------------------------------

    def crawl(self, strip, position, period=None, left_edge=None, left_fade=0,
              right_edge=None, right_fade=0, shaped=False):
        """One frame of a horizontal crawl: this layer shows ``strip`` from
        column ``position`` on (a float: the part after the point goes in
        1/256 steps, rounded to the nearest).

        Column x of each row comes from strip column p + x, p being the whole
        position reduced modulo ``period`` (default: strip width minus this
        layer's width), so the strip must be at least that much wider than
        the layer (one column more for sub-pixel positions). The picture is
        transparent left of ``left_edge - left_fade``, fades in over
        ``left_fade`` columns up to ``left_edge`` (default 0), shows the strip
        up to ``right_edge`` (default the last column), fades out over
        ``right_fade`` columns and is transparent after that. The rows are
        those both layers have.

        Whole positions use ``CrawlBlit``; others ``SubpixCrawlBlit``, an
        alpha-weighted mix of two strip columns; ``shaped=True`` uses
        ``ShapedSubpixCrawlBlit`` for pixels whose colour is already weighted
        by their shape (its weights in the fully visible span are the reverse:
        see PixelRoutinesLite.h).
        """
        strip = _layer_argument("strip", strip)
        whole, fraction = _check.fixed_point("position", position)
        subpix = fraction != 0 or shaped
        target, source = self._valid(), strip._valid()
        width, rows = target.width, min(target.height, source.height)
        if period is None:
            period = source.width - width
            if period < 1:
                raise ValueError("the strip (%d wide) must be wider than the layer (%d wide)"
                                 % (source.width, width))
        period = _check.size("period", period)
        start = whole % period
        if start + width + subpix > source.width:
            raise ValueError("the strip is %d columns wide; this crawl reads %d"
                             % (source.width, start + width + subpix))
        left_edge = 0 if left_edge is None else _check.integer("left_edge", left_edge)
        right_edge = width - 1 if right_edge is None else _check.integer("right_edge", right_edge)
        left_fade = _check.integer("left_fade", left_fade)
        right_fade = _check.integer("right_fade", right_fade)
        if rows < 1 or width < 1:
            return self
        area = _region(target.x, target.y, width, rows)
        strip_area = _region(source.x, source.y, source.width, rows)
        with _Access(self, area) as dst, _Access(strip, strip_area) as src:
            edges = (left_edge, left_fade, right_edge, right_fade)
            if not subpix:
                lib.CrawlBlit(dst.pixels, dst.rowBytes, src.pixels, src.rowBytes, width, rows,
                              whole, period, *edges)
            else:
                routine = lib.ShapedSubpixCrawlBlit if shaped else lib.SubpixCrawlBlit
                routine(dst.pixels, dst.rowBytes, src.pixels, src.rowBytes, width, rows,
                        whole, fraction, period, *edges)
            self._update(dst.region)
        return self

    def roll(self, strip, line, period=None, line_step=1, blur=None, top_fade_end=0,
             top_fade_width=0, bottom_fade_start=None, bottom_fade_width=0):
        """One frame of a vertical roll: row i of this layer shows strip line
        ``line + i * line_step``, the strip repeating every ``period`` lines
        (default: its height; at most its height). ``line`` is a float: the
        part after the point goes in 1/256 steps, rounded to the nearest.

        Rows above ``top_fade_end`` fade in over the ``top_fade_width`` rows
        ending there; rows below ``bottom_fade_start`` (default: the height)
        fade out over ``bottom_fade_width`` rows, alpha easing out
        quadratically. The columns are those both layers have.

        Whole lines without ``blur`` copy rows (``RollCopyData``); sub-line
        positions interpolate two lines (``RollBlastDataSubPixNoFilter``);
        ``blur`` (0..128) runs the three-line filter that interlaced output
        wants (``RollBlastDataSubPix``). In the sub-line forms each row's fade
        scales the weights left by the rows above it, as the library does.
        """
        strip = _layer_argument("strip", strip)
        whole, fraction = _check.fixed_point("line", line)
        target, source = self._valid(), strip._valid()
        width, height = min(target.width, source.width), target.height
        period = source.height if period is None else _check.size("period", period)
        if period > source.height:
            raise ValueError("period %d is more than the strip's %d lines"
                             % (period, source.height))
        line_step = _check.integer("line_step", line_step)
        if abs(line_step) * height + period > _check.INT32_MAX:
            raise ValueError("line_step %d over %d rows leaves the line range"
                             % (line_step, height))
        if blur is not None:
            blur = _check.integer("blur", blur, 0, 128)
        fades = (_check.integer("top_fade_end", top_fade_end),
                 _check.integer("top_fade_width", top_fade_width),
                 height if bottom_fade_start is None
                 else _check.integer("bottom_fade_start", bottom_fade_start),
                 _check.integer("bottom_fade_width", bottom_fade_width))
        if width < 1 or height < 1:
            return self
        area = _region(target.x, target.y, width, height)
        strip_area = _region(source.x, source.y, width, source.height)
        with _Access(self, area) as dst, _Access(strip, strip_area) as src:
            common = (dst.pixels, src.pixels, width, height, dst.rowBytes)
            if blur is not None:
                routine = _capi.slot("RollBlastDataSubPix", _capi.RollBlastDataSubPix)
                routine(*common, src.rowBytes, whole, line_step, fraction, period, blur, *fades)
            elif fraction:
                if period * src.rowBytes * 4 > _check.INT32_MAX:
                    raise ValueError("the strip is too large for a sub-line roll without blur")
                routine = _capi.slot("RollBlastDataSubPixNoFilter",
                                     _capi.RollBlastDataSubPixNoFilter)
                # This routine takes four times the byte pitch.
                routine(*common, src.rowBytes * 4, whole, line_step, fraction, period, *fades)
            else:
                routine = _capi.slot("RollCopyData", _capi.RollCopyData)
                routine(*common, src.rowBytes, whole, line_step, period, *fades)
            self._update(dst.region)
        return self

    # --- geometry ----------------------------------------------------------------

    def resize(self, width, height):
        """A new ``width`` x ``height`` layer holding this picture scaled
        (``ResizeLayer``: box filter when shrinking, linear when enlarging)."""
        result = Layer(width, height)
        if not lib.ResizeLayer(result._handle, self._handle, True):
            result.close()
            raise FlowerError("ResizeLayer")
        return result

    def flip_horizontal(self):
        """Mirrors every row left to right, in place (``HorizontalFlipLayer``)."""
        if not lib.HorizontalFlipLayer(self._handle, True):
            raise FlowerError("HorizontalFlipLayer")
        return self

    def flip_vertical(self):
        """Mirrors the rows top to bottom, in place (``VerticalFlipLayer``)."""
        if not lib.VerticalFlipLayer(self._handle, True):
            raise FlowerError("VerticalFlipLayer")
        return self

    def shift(self, dx=0, dy=0):
        """Moves the picture ``dx`` columns right and ``dy`` rows down
        (negative: left, up), clearing what is vacated
        (``HorizontalShiftLayer``, ``VerticalShiftLayer``)."""
        dx, dy = _check.integer("dx", dx), _check.integer("dy", dy)
        handle = self._handle
        if dx and not lib.HorizontalShiftLayer(handle, dx, True):
            raise FlowerError("HorizontalShiftLayer")
        if dy and not lib.VerticalShiftLayer(handle, dy, True):
            raise FlowerError("VerticalShiftLayer")
        return self

    def tile(self, tile, offset_x=0, offset_y=0):
        """Fills this layer with copies of ``tile``: pixel (x, y) takes tile
        pixel ((x + offset_x) mod width, (y + offset_y) mod height) (``TileLayer``)."""
        tile = _layer_argument("tile", tile)
        ox, oy = _check.integer("offset_x", offset_x), _check.integer("offset_y", offset_y)
        if not lib.TileLayer(self._handle, tile._handle, ox, oy, True):
            raise FlowerError("TileLayer")
        return self

    def center(self, source):
        """Copies ``source`` into the rectangle of its size centred in this
        layer (offsets truncate toward zero); pixels outside it are kept
        (``CenterLayer``)."""
        source = _layer_argument("source", source)
        if not lib.CenterLayer(self._handle, source._handle, True):
            raise FlowerError("CenterLayer")
        return self

    centre = center

    def interlace(self, even, odd, fields=False):
        """Even rows from ``even``, odd rows from ``odd``. Frames
        (``InterlaceFrameLayers``) give row y from row y of its source;
        with ``fields=True`` (``InterlaceFieldLayers``) from row y // 2. What
        a source does not cover is cleared."""
        even, odd = _layer_argument("even", even), _layer_argument("odd", odd)
        routine = lib.InterlaceFieldLayers if fields else lib.InterlaceFrameLayers
        if not routine(self._handle, even._handle, odd._handle, True):
            raise FlowerError("InterlaceFieldLayers" if fields else "InterlaceFrameLayers")
        return self

    # --- channels and contours -------------------------------------------------

    def channel(self, which="alpha"):
        """One channel of the layer as a new ``H x W`` ``uint8`` array
        (``CreateChannel``, ``GetChannel``): "blue", "green", "red", "alpha",
        "luminance" ((B*29 + G*149 + R*77) * A / 65025) or "luma" (the same
        without alpha, / 255), all truncating; or their numbers 0..5."""
        if isinstance(which, str):
            if which not in CHANNELS:
                raise ValueError("unknown channel %r; one of %s" % (which, ", ".join(CHANNELS)))
            which = CHANNELS[which]
        else:
            which = _check.integer("which", which, 0, 5)
        valid = self._valid()
        if valid.width < 1 or valid.height < 1:
            return np.zeros((0, 0), np.uint8)
        channel = lib.CreateChannel(valid.width, valid.height)
        if not channel or not channel.contents.data:
            lib.DeleteChannel(channel)
            raise FlowerError("CreateChannel(%d, %d)" % (valid.width, valid.height))
        try:
            if not lib.GetChannel(channel, self._handle, which):
                raise FlowerError("GetChannel")
            record = channel.contents
            samples = (ctypes.c_uint8 * (record.rowBytes * record.height)).from_address(record.data)
            return np.ctypeslib.as_array(samples).reshape(record.height, record.rowBytes)[
                :, :record.width].copy()
        finally:
            lib.DeleteChannel(channel)

    def contours(self, which="alpha", threshold=128):
        """The outlines of the samples of channel ``which`` (see
        :meth:`channel`) that are at least ``threshold``: see
        :func:`flower.contours`."""
        from .channel import contours

        return contours(self.channel(which), threshold)


def pel(red, green, blue, alpha=255):
    """The Pel 0xAARRGGBB of a colour, for :meth:`Layer.fill`."""
    parts = [_check.integer(n, v, 0, 255)
             for n, v in (("red", red), ("green", green), ("blue", blue), ("alpha", alpha))]
    return parts[3] << 24 | parts[0] << 16 | parts[1] << 8 | parts[2]
