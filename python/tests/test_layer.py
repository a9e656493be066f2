"""Layers as NumPy arrays: shared memory, lifetime, versions and the errors
raised for bad arguments and failed calls."""

import ctypes
import doctest
import gc
import re

import numpy as np
import pytest

import flower


def test_version_is_the_loaded_library(direct):
    numbers = [ctypes.c_int() for _ in range(3)]
    text = ctypes.string_at(direct.GetFlowerVersion(*[ctypes.byref(n) for n in numbers]))
    assert flower.__version__ == text.decode()
    assert flower.version_info == tuple(n.value for n in numbers)
    assert re.fullmatch(r"\d+\.\d+\.\d+", flower.__version__)


def test_the_package_example_runs():
    assert doctest.testmod(flower).failed == 0


def test_from_array_shares_memory_both_ways(pels):
    pixels = pels(7, 5)
    with flower.Layer.from_array(pixels) as layer:
        view = layer.array
        assert np.shares_memory(view, pixels)
        assert view.shape == (7, 5, 4) and layer.shape == (7, 5, 4)
        layer.fill(flower.pel(1, 2, 3, 4))
        assert pixels[3, 2].tolist() == [3, 2, 1, 4]
        pixels[0, 0] = (9, 8, 7, 6)
        assert view[0, 0].tolist() == [9, 8, 7, 6]


def test_from_array_over_a_crop_uses_its_row_pitch(pels):
    picture = pels(10, 12)
    crop = picture[2:8, 3:9]
    with flower.Layer.from_array(crop) as layer:
        assert np.shares_memory(layer.array, picture)
        layer.fill(0)
        assert not crop.any()
        assert picture[1].any() and picture[:, 2].any()


def test_copy_copies(pels):
    pixels = pels(4, 4)
    with flower.Layer.from_array(pixels[:, ::-1], copy=True) as layer:
        assert not np.shares_memory(layer.array, pixels)
        assert np.array_equal(layer.array, pixels[:, ::-1])


def test_layer_keeps_its_array_alive(counted_blocks):
    layer = flower.Layer.from_array(np.full((3, 3, 4), 77, np.uint8))
    gc.collect()
    assert (layer.array == 77).all()
    layer.close()


def test_views_outlive_the_layer_and_release_it(counted_blocks):
    held = len(counted_blocks.held)
    layer = flower.Layer(6, 4).fill(0x80402010)
    view = layer.array
    layer.close()
    assert layer.closed
    assert view[3, 5].tolist() == [0x10, 0x20, 0x40, 0x80]
    assert len(counted_blocks.held) > held
    del view
    gc.collect()
    assert len(counted_blocks.held) == held


def test_with_and_finaliser_release_the_layer(counted_blocks):
    held = len(counted_blocks.held)
    with flower.Layer(8, 8) as layer:
        assert len(counted_blocks.held) == held + 2  # the object and its pixels
    assert layer.closed and len(counted_blocks.held) == held
    flower.Layer(8, 8)
    gc.collect()
    assert len(counted_blocks.held) == held
    layer.close()  # twice is harmless


def test_clip_views_part_of_a_layer(pels):
    pixels = pels(8, 10)
    with flower.Layer.from_array(pixels) as layer, layer.clip(2, 3, 5, 9) as view:
        assert view.region() == (0, 0, 5, 9)
        assert view.valid_region() == (0, 0, 5, 5)
        assert np.array_equal(view.array, pixels[3:8, 2:7])
        assert np.shares_memory(view.array, pixels)


@pytest.mark.parametrize("array, error, words", [
    (np.zeros((4, 4, 4), np.float32), TypeError, "uint8"),
    (np.zeros((4, 4, 4), np.uint16), TypeError, "uint8"),
    ([[[0, 0, 0, 0]]], TypeError, "ndarray"),
    (np.zeros((4, 4, 3), np.uint8), ValueError, "H x W x 4"),
    (np.zeros((4, 16), np.uint8), ValueError, "H x W x 4"),
    (np.zeros((0, 4, 4), np.uint8), ValueError, "height"),
    (np.zeros((4, 8, 4), np.uint8)[:, ::2], ValueError, "copy=True"),
    (np.zeros((4, 4, 8), np.uint8)[:, :, ::2], ValueError, "copy=True"),
    (np.zeros((4, 4, 4), np.uint8).view(np.uint8)[::-1], ValueError, "copy=True"),
])
def test_from_array_refuses_bad_arrays(array, error, words):
    with pytest.raises(error, match=words):
        flower.Layer.from_array(array)


def test_from_array_refuses_read_only_and_misaligned_arrays():
    frozen = np.zeros((2, 2, 4), np.uint8)
    frozen.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        flower.Layer.from_array(frozen)
    odd = np.zeros(2 * 2 * 4 + 1, np.uint8)[1:].reshape(2, 2, 4)
    with pytest.raises(ValueError, match="aligned"):
        flower.Layer.from_array(odd)
    with flower.Layer.from_array(odd, copy=True) as layer:
        assert layer.width == 2


def test_bad_arguments_raise_with_a_message():
    with pytest.raises(ValueError, match="width"):
        flower.Layer(-1, 5)
    with pytest.raises(ValueError, match="height"):
        flower.Layer(5, 0)
    with pytest.raises(TypeError, match="width"):
        flower.Layer(2.5, 5)
    with flower.Layer(4, 4) as layer:
        with pytest.raises(TypeError, match="top"):
            layer.composite(np.zeros((4, 4, 4), np.uint8))
        with pytest.raises(ValueError, match="opacity"):
            layer.composite(layer, opacity=256)
        with pytest.raises(ValueError, match="level"):
            layer.fade(-1)
        with pytest.raises(ValueError, match="colour"):
            layer.fill(-1)
        with pytest.raises(ValueError, match="position"):
            layer.crawl(layer, float("nan"))
        with pytest.raises(ValueError, match="wider"):
            layer.crawl(flower.Layer(4, 4), 0)
        with pytest.raises(ValueError, match="period"):
            layer.roll(flower.Layer(4, 4), 0, period=5)
        with pytest.raises(ValueError, match="blur"):
            layer.roll(flower.Layer(4, 4), 0.5, blur=129)
        with pytest.raises(ValueError, match="unknown channel"):
            layer.channel("purple")
        with pytest.raises(ValueError, match="width"):
            layer.resize(0, 3)
    with pytest.raises(TypeError, match="uint8"):
        flower.contours(np.zeros((3, 3), np.int16))
    with pytest.raises(ValueError, match="H x W"):
        flower.contours(np.zeros((3, 3, 1), np.uint8))


def test_a_closed_layer_refuses_every_use():
    layer = flower.Layer(2, 2)
    other = flower.Layer(2, 2)
    layer.close()
    for use in (lambda: layer.array, lambda: layer.width, lambda: layer.fill(0),
                lambda: other.composite(layer), lambda: layer.flip_vertical(),
                lambda: layer.channel(), lambda: other.interlace(layer, other)):
        with pytest.raises(ValueError, match="closed"):
            use()
    with pytest.raises(ValueError, match="closed"):
        with layer:
            pass
    other.close()
    assert repr(layer) == "<flower.Layer closed>"


def test_a_failed_call_raises_naming_it():
    with pytest.raises(flower.FlowerError, match=r"^CreateLayer\(2147483647, 2147483647\) failed"):
        flower.Layer(2 ** 31 - 1, 2 ** 31 - 1)
    with flower.Layer(4, 4) as layer:
        with pytest.raises(flower.FlowerError, match="ResizeLayer|CreateLayer"):
            layer.resize(2 ** 31 - 1, 2)
