"""Every wrapped operation gives, pixel for pixel, what the same operation
gives when called through the C API directly."""

import ctypes
from ctypes import c_int, c_void_p

import numpy as np
import pytest

import flower


def ptr(array):
    return array.ctypes.data


def pitch(array):
    return array.strides[0]


class DirectLayers:
    """Layers over arrays made through the C API; released on exit."""

    def __init__(self, direct):
        self.direct, self.handles, self.arrays = direct, [], []

    def __call__(self, array):
        array = np.ascontiguousarray(array).copy()
        self.arrays.append(array)
        self.handles.append(self.direct.layer(array))
        return self.handles[-1], array

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        for handle in self.handles:
            self.direct.DeleteLayer(handle)


@pytest.mark.parametrize("x, y", [(0, 0), (3, 2), (-4, 5), (9, -3), (-20, 0), (30, 30)])
@pytest.mark.parametrize("opacity", [255, 200, 0])
def test_composite_at_a_position(direct, pels, x, y, opacity):
    bottom, top = pels(17, 13), pels(9, 11)
    expected = bottom.copy()
    x0, y0 = max(0, x), max(0, y)
    x1, y1 = min(13, x + 11), min(17, y + 9)
    if x1 > x0 and y1 > y0:
        dst = expected[y0:y1, x0:x1]
        src = top[y0 - y:y1 - y, x0 - x:x1 - x]
        if opacity == 255:
            direct.Composit(ptr(dst), pitch(dst), ptr(dst), pitch(dst), ptr(src), pitch(src),
                            x1 - x0, y1 - y0)
        else:
            direct.CompositWithOpacity(ptr(dst), pitch(dst), ptr(dst), pitch(dst), ptr(src),
                                       pitch(src), x1 - x0, y1 - y0, 255, opacity)
    with flower.Layer.from_array(bottom) as layer, flower.Layer.from_array(top) as over:
        assert layer.composite(over, x=x, y=y, opacity=opacity) is layer
    assert np.array_equal(bottom, expected)


@pytest.mark.parametrize("level", [0, 1, 128, 255, 256])
def test_fade_in_place_and_from_a_source(direct, pels, level):
    pixels, source = pels(6, 9), pels(5, 7)
    expected = pixels.copy()
    direct.Fade(ptr(expected), pitch(expected), ptr(expected), pitch(expected), 9, 6, level)
    with flower.Layer.from_array(pixels) as layer:
        layer.fade(level)
    assert np.array_equal(pixels, expected)

    target = pels(6, 9)
    expected = target.copy()
    direct.Fade(ptr(expected), pitch(expected), ptr(source), pitch(source), 7, 5, level)
    with flower.Layer.from_array(target) as layer, flower.Layer.from_array(source) as src:
        layer.fade(level, src)
    assert np.array_equal(target, expected)


@pytest.mark.parametrize("shaped", [False, True])
@pytest.mark.parametrize("level", [0, 77, 128, 256])
def test_cross_fade(direct, pels, shaped, level):
    a, b, target = pels(8, 10), pels(7, 12), pels(9, 11)
    expected = target.copy()
    routine = direct.ShapedCrossFade if shaped else direct.CrossFade
    routine(ptr(expected), pitch(expected), ptr(a), pitch(a), ptr(b), pitch(b), 10, 7,
            256 - level, level)
    with flower.Layer.from_array(target) as layer:
        layer.cross_fade(flower.Layer.from_array(a), flower.Layer.from_array(b), level,
                         shaped=shaped)
    assert np.array_equal(target, expected)


CRAWLS = [
    # position, edges (left_edge, left_fade, right_edge, right_fade), shaped
    (0, None, False),
    (17, None, False),
    (17.25, None, False),
    (3.5, (6, 6, 30, 8), False),
    (140.75, (4, 8, 28, 4), False),
    (-5.125, (0, 0, 39, 0), False),
    (12.5, (5, 5, 33, 5), True),
    (9, None, True),
]


@pytest.mark.parametrize("position, edges, shaped", CRAWLS)
def test_crawl_frames(direct, pels, position, edges, shaped):
    strip, frame = pels(12, 120), np.zeros((10, 40, 4), np.uint8)
    period = 120 - 40
    whole = int(np.floor(position))
    fraction = int(round((position - whole) * 256))
    expected = frame.copy()
    args = edges if edges else (0, 0, 39, 0)
    head = (ptr(expected), pitch(expected), ptr(strip), pitch(strip), 40, 10, whole)
    if shaped:
        direct.ShapedSubpixCrawlBlit(*head, fraction, period, *args)
    elif fraction:
        direct.SubpixCrawlBlit(*head, fraction, period, *args)
    else:
        direct.CrawlBlit(*head, period, *args)
    names = ("left_edge", "left_fade", "right_edge", "right_fade")
    keywords = dict(zip(names, edges)) if edges else {}
    with flower.Layer.from_array(frame) as layer, flower.Layer.from_array(strip) as text:
        layer.crawl(text, position, shaped=shaped, **keywords)
    assert np.array_equal(frame, expected)


def test_crawl_refuses_to_read_past_the_strip(pels):
    with flower.Layer(40, 4) as layer, flower.Layer(60, 4) as strip:
        layer.crawl(strip, 19)
        with pytest.raises(ValueError, match="reads 61"):
            layer.crawl(strip, 20.5, period=21)


ROLLS = [
    # line, keywords
    (0, {}),
    (7, {"top_fade_end": 4, "top_fade_width": 4}),
    (30, {"line_step": 2, "bottom_fade_start": 12, "bottom_fade_width": 5}),
    (5.5, {}),
    (3.25, {"top_fade_end": 3, "top_fade_width": 3, "bottom_fade_start": 14,
            "bottom_fade_width": 2}),
    (6.75, {"blur": 0}),
    (2.0, {"blur": 64, "top_fade_end": 2, "top_fade_width": 2}),
    (11.5, {"blur": 128, "period": 20}),
]


@pytest.mark.parametrize("line, keywords", ROLLS)
def test_roll_frames(direct, pels, line, keywords):
    strip, frame = pels(24, 14), np.zeros((16, 14, 4), np.uint8)
    whole = int(np.floor(line))
    fraction = int(round((line - whole) * 256))
    period = keywords.get("period", 24)
    fades = (keywords.get("top_fade_end", 0), keywords.get("top_fade_width", 0),
             keywords.get("bottom_fade_start", 16), keywords.get("bottom_fade_width", 0))
    step = keywords.get("line_step", 1)
    expected = frame.copy()
    head = (ptr(expected), ptr(strip), 14, 16, pitch(expected))
    pointers = [c_void_p, c_void_p]
    if "blur" in keywords:
        roll = direct.slot("RollBlastDataSubPix", *pointers, *[c_int] * 13)
        roll(*head, pitch(strip), whole, step, fraction, period, keywords["blur"], *fades)
    elif fraction:
        roll = direct.slot("RollBlastDataSubPixNoFilter", *pointers, *[c_int] * 12)
        roll(*head, pitch(strip) * 4, whole, step, fraction, period, *fades)
    else:
        roll = direct.slot("RollCopyData", *pointers, *[c_int] * 11)
        roll(*head, pitch(strip), whole, step, period, *fades)
    with flower.Layer.from_array(frame) as layer, flower.Layer.from_array(strip) as text:
        layer.roll(text, line, **keywords)
    assert np.array_equal(frame, expected)


def test_resize(direct, pels):
    source = pels(23, 31)
    for width, height in ((31, 23), (12, 9), (50, 40), (1, 1)):
        with DirectLayers(direct) as made:
            src, _ = made(source)
            dst, expected = made(np.zeros((height, width, 4), np.uint8))
            assert direct.ResizeLayer(dst, src, False)
            with flower.Layer.from_array(source) as layer, layer.resize(width, height) as out:
                assert np.array_equal(out.array, expected)


def in_place(direct, pels, operate, call):
    """`operate` on a package layer and `call` on a C layer over equal pixels."""
    pixels = pels(11, 14)
    with DirectLayers(direct) as made:
        handle, expected = made(pixels)
        assert call(handle)
        with flower.Layer.from_array(pixels) as layer:
            assert operate(layer) is layer
        assert np.array_equal(pixels, expected)


@pytest.mark.parametrize("operate, call", [
    (lambda l: l.flip_horizontal(), lambda d, h: d.HorizontalFlipLayer(h, True)),
    (lambda l: l.flip_vertical(), lambda d, h: d.VerticalFlipLayer(h, True)),
    (lambda l: l.shift(dx=3), lambda d, h: d.HorizontalShiftLayer(h, 3, True)),
    (lambda l: l.shift(dx=-5), lambda d, h: d.HorizontalShiftLayer(h, -5, True)),
    (lambda l: l.shift(dy=4), lambda d, h: d.VerticalShiftLayer(h, 4, True)),
    (lambda l: l.shift(dy=-2), lambda d, h: d.VerticalShiftLayer(h, -2, True)),
    (lambda l: l.shift(2, -3), lambda d, h: d.HorizontalShiftLayer(h, 2, True)
     and d.VerticalShiftLayer(h, -3, True)),
    (lambda l: l.fill(0x80FF4020), lambda d, h: d.FillLayer(h, 0x80FF4020)),
])
def test_in_place_operations(direct, pels, operate, call):
    in_place(direct, pels, operate, lambda handle: call(direct, handle))


@pytest.mark.parametrize("offset", [(0, 0), (2, 5), (-3, 7)])
def test_tile(direct, pels, offset):
    tile = pels(4, 5)
    with DirectLayers(direct) as made:
        tile_handle, _ = made(tile)
        in_place(direct, pels, lambda l: l.tile(flower.Layer.from_array(tile), *offset),
                 lambda h: direct.TileLayer(h, tile_handle, offset[0], offset[1], True))


@pytest.mark.parametrize("size", [(5, 6), (14, 11), (20, 3)])
def test_center(direct, pels, size):
    source = pels(size[1], size[0])
    with DirectLayers(direct) as made:
        source_handle, _ = made(source)
        in_place(direct, pels, lambda l: l.centre(flower.Layer.from_array(source)),
                 lambda h: direct.CenterLayer(h, source_handle, True) == 1)


@pytest.mark.parametrize("fields", [False, True])
def test_interlace(direct, pels, fields):
    even, odd = pels(11, 14), pels(6, 10)
    routine = direct.InterlaceFieldLayers if fields else direct.InterlaceFrameLayers
    with DirectLayers(direct) as made:
        even_handle, _ = made(even)
        odd_handle, _ = made(odd)
        in_place(direct, pels,
                 lambda l: l.interlace(flower.Layer.from_array(even),
                                       flower.Layer.from_array(odd), fields=fields),
                 lambda h: routine(h, even_handle, odd_handle, True))


class Channel(ctypes.Structure):
    _fields_ = [("data", c_void_p), ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("rowBytes", ctypes.c_int32), ("parent", c_void_p), ("ownsData", ctypes.c_bool)]


@pytest.mark.parametrize("which", list(flower.CHANNELS.items()))
def test_channels(direct, pels, which):
    name, number = which
    pixels = pels(9, 13)
    with DirectLayers(direct) as made:
        handle, _ = made(pixels)
        channel = direct.CreateChannel(13, 9)
        assert direct.GetChannel(channel, handle, number)
        record = Channel.from_address(channel)
        expected = np.ctypeslib.as_array(
            (ctypes.c_uint8 * (13 * 9)).from_address(record.data)).reshape(9, 13).copy()
        direct.DeleteChannel(channel)
    with flower.Layer.from_array(pixels) as layer:
        assert np.array_equal(layer.channel(name), expected)
        assert np.array_equal(layer.channel(number), expected)
    if number < 4:
        assert np.array_equal(expected, pixels[:, :, number])


def direct_contours(direct, mask, threshold):
    channel = direct.CreateChannel(mask.shape[1], mask.shape[0])
    record = Channel.from_address(channel)
    ctypes.memmove(record.data, ptr(mask), mask.size)
    contour = direct.CreateContourFromChannel(channel, threshold)
    length = c_int()
    data = ctypes.cast(direct.GetContourData(contour, ctypes.byref(length)),
                       ctypes.POINTER(c_int))
    flat = [data[i] for i in range(length.value)]
    direct.DeleteContour(contour)
    direct.DeleteChannel(channel)
    return flat


def test_contours_as_point_arrays(direct):
    mask = np.zeros((9, 12), np.uint8)
    mask[1:7, 2:9] = 200
    mask[3:5, 4:6] = 0  # a hole
    mask[8, 11] = 255
    loops = flower.contours(mask, 128)
    flat = direct_contours(direct, mask, 128)
    assert flat[0] == len(loops) == 3
    rebuilt = [len(loops)]
    for loop in loops:
        assert loop.dtype == np.int32 and loop.shape[1] == 2
        rebuilt += [len(loop)] + loop.ravel().tolist()
    assert rebuilt == flat
    areas = [0.5 * int(np.sum(l[:, 0] * np.roll(l[:, 1], -1) - np.roll(l[:, 0], -1) * l[:, 1]))
             for l in loops]
    assert sum(areas) == np.count_nonzero(mask >= 128)
    assert loops[0][0].tolist() == [2, 1]


def test_layer_contours_trace_a_channel(pels):
    pixels = pels(10, 10)
    with flower.Layer.from_array(pixels) as layer:
        expected = flower.contours(np.ascontiguousarray(pixels[:, :, 2]), 100)
        got = layer.contours("red", threshold=100)
    assert len(got) == len(expected)
    assert all(np.array_equal(a, b) for a, b in zip(got, expected))


def test_contours_of_a_strided_mask_read_it_in_place():
    mask = np.zeros((6, 16), np.uint8)
    mask[2:4, 2:6] = 255
    loops = flower.contours(mask[:, :8], 1)
    assert [loop.tolist() for loop in loops] == [[[2, 2], [6, 2], [6, 4], [2, 4]]]


def test_visible_region(direct):
    pixels = np.zeros((10, 12, 4), np.uint8)
    pixels[3:6, 2:8, 3] = 9
    with flower.Layer.from_array(pixels) as layer:
        assert layer.visible_region() == (2, 3, 6, 3)
        layer.fill(0)
        assert layer.visible_region() == (0, 0, 0, 0)


def test_sample_picture_is_opaque():
    with flower.Layer.sample() as picture:
        assert picture.shape == (512, 768, 4)
        assert (picture.array[:, :, 3] == 255).all()
