"""flowertitle in pipelines: untouched pixels, flower-title's frames, running time."""
import os
import subprocess

import numpy as np
import pytest

W, H = 320, 240
FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
CRAWL_Y, BAND = 150, 40  # the titles stay inside these rows
STYLE = ["--font", FONT, "--font-size", "20", "--crawl-y", str(CRAWL_Y),
         "--speed", "173.3", "--outline", "1"]
PROPS = [f"font={FONT}", "font-size=20", f"crawl-y={CRAWL_Y}", "speed=173.3", "outline=1"]


@pytest.fixture(scope="session")
def env():
    e = dict(os.environ)
    e["GST_PLUGIN_PATH"] = os.environ["FLOWER_GST_PLUGIN_DIR"]
    e["GST_REGISTRY"] = os.environ["FLOWER_GST_REGISTRY"]  # never the user's cache
    e["GST_REGISTRY_FORK"] = "no"
    return e


def source(fmt, frames, fps=25, pattern="colors"):
    return [f"videotestsrc", f"num-buffers={frames}", f"pattern={pattern}", "!",
            f"video/x-raw,format={fmt},width={W},height={H},framerate={fps}/1"]


def frame_bytes(fmt):
    return W * H * 4 if fmt in ("BGRA", "BGRx", "ARGB") else W * H * 3 // 2


def launch(env, pipeline, tmp_path, fmt, name="out.raw"):
    out = tmp_path / name
    args = ["gst-launch-1.0", "-q"] + pipeline + ["!", "filesink", f"location={out}"]
    subprocess.run(args, env=env, check=True, capture_output=True)
    data = np.fromfile(out, np.uint8)
    return data.reshape(-1, frame_bytes(fmt))


def titled(env, tmp_path, fmt, frames, props, fps=25, pattern="colors"):
    line = source(fmt, frames, fps, pattern) + ["!", "flowertitle"] + props
    return launch(env, line, tmp_path, fmt, "titled.raw")


ITEMS = "Breaking news\nمرحبا\nMarkets up"


def items_file(tmp_path, text=ITEMS):
    path = tmp_path / "items.txt"
    path.write_text(text + "\n", encoding="utf-8")
    return path


def test_inspect_lists_the_element_and_its_properties(env):
    run = subprocess.run(["gst-inspect-1.0", "flowertitle"], env=env, capture_output=True,
                         text=True, check=True)
    assert run.stderr == ""
    for prop in ("text", "items-file", "roll-text", "font", "font-size", "colour", "outline",
                 "shadow", "band", "crawl-y", "speed", "fade", "filter"):
        assert f"\n  {prop} " in run.stdout
    for fmt in ("BGRA", "BGRx", "ARGB", "I420", "NV12"):
        assert fmt in run.stdout


@pytest.mark.parametrize("fmt", ["BGRA", "BGRx", "ARGB", "I420", "NV12"])
def test_pixels_outside_the_titles_keep_their_bytes(env, tmp_path, fmt):
    plain = launch(env, source(fmt, 12), tmp_path, fmt)
    out = titled(env, tmp_path, fmt, 12, PROPS + ["text=Hello", "band=#00000000"])
    assert out.shape == plain.shape == (12, frame_bytes(fmt))
    assert not np.array_equal(plain, out)
    for p, t in zip(plain, out):
        bpp = 4 if fmt in ("BGRA", "BGRx", "ARGB") else 1
        luma_p = p[: W * H * bpp].reshape(H, W * bpp)
        luma_t = t[: W * H * bpp].reshape(H, W * bpp)
        rows = np.ones(H, bool)
        rows[CRAWL_Y:CRAWL_Y + BAND] = False
        assert np.array_equal(luma_p[rows], luma_t[rows])
        if bpp == 1:  # chroma rows away from the band keep theirs too
            chroma_rows = np.ones(H // 2, bool)
            chroma_rows[CRAWL_Y // 2:(CRAWL_Y + BAND + 1) // 2] = False
            shape = (H // 2, W) if fmt == "NV12" else (2, H // 2, W // 2)
            cp = p[W * H:].reshape(shape)
            ct = t[W * H:].reshape(shape)
            assert np.array_equal(cp[..., chroma_rows, :], ct[..., chroma_rows, :])


def y4m(frames, interlace="p"):
    header = f"YUV4MPEG2 W{W} H{H} F25:1 I{interlace} A1:1 C420jpeg\n".encode()
    return header + b"".join(b"FRAME\n" + f.tobytes() for f in frames)


def read_y4m(data):
    body = data[data.index(b"\n") + 1:]
    size = len(b"FRAME\n") + W * H * 3 // 2
    return np.frombuffer(body, np.uint8).reshape(-1, size)[:, len(b"FRAME\n"):]


@pytest.mark.parametrize("prop", ["items-file", "text"])
@pytest.mark.parametrize("fmt", ["BGRA", "I420"])
def test_frames_equal_flower_titles(env, tmp_path, fmt, prop):
    # gst-launch-1.0 takes no newline in a value: one item for `text`.
    items = items_file(tmp_path, "Breaking news · مرحبا" if prop == "text" else ITEMS)
    plain = launch(env, source(fmt, 10), tmp_path, fmt)
    value = f"items-file={items}" if prop == "items-file" else \
        "text=" + items.read_text(encoding="utf-8").rstrip("\n")
    out = titled(env, tmp_path, fmt, 10, PROPS + [value])
    tool = [os.environ["FLOWER_TITLE"], "crawl", "--items", str(items), "--input", "-",
            "-o", "-", "--quiet"] + STYLE
    if fmt == "BGRA":
        tool += ["--input-format", "bgra", "--input-size", f"{W}x{H}", "--fps", "25",
                 "--format", "bgra"]
        run = subprocess.run(tool, input=plain.tobytes(), capture_output=True, check=True)
        expected = np.frombuffer(run.stdout, np.uint8).reshape(-1, frame_bytes(fmt))
    else:
        run = subprocess.run(tool + ["--format", "y4m"], input=y4m(plain), capture_output=True,
                             check=True)
        expected = read_y4m(run.stdout)
    assert np.array_equal(out, expected)


@pytest.mark.parametrize("order, tag", [("top-field-first", "t"), ("bottom-field-first", "b")])
def test_interlaced_frames_take_each_field_at_its_time(env, tmp_path, order, tag):
    items = items_file(tmp_path)
    caps = f"video/x-raw,format=I420,width={W},height={H},framerate=25/1"
    interlaced = [caps + f",interlace-mode=interleaved,field-order={order}"]
    plain = launch(env, source("I420", 8)[:-1] + interlaced, tmp_path, "I420")
    line = source("I420", 8)[:-1] + interlaced + ["!", "flowertitle", f"items-file={items}"]
    out = launch(env, line + PROPS, tmp_path, "I420", "titled.raw")
    tool = [os.environ["FLOWER_TITLE"], "crawl", "--items", str(items), "--input", "-",
            "-o", "-", "--quiet", "--format", "y4m"] + STYLE
    run = subprocess.run(tool, input=y4m(plain, tag), capture_output=True, check=True)
    assert np.array_equal(out, read_y4m(run.stdout))
    progressive = titled(env, tmp_path, "I420", 8, PROPS + [f"items-file={items}"])
    assert not np.array_equal(out, progressive)


def test_every_format_gets_the_same_titles(env, tmp_path):
    props = PROPS + ["text=Formats agree", "shadow=2,3"]
    bgra = titled(env, tmp_path, "BGRA", 6, props).reshape(6, -1, 4)
    bgrx = titled(env, tmp_path, "BGRx", 6, props).reshape(6, -1, 4)
    argb = titled(env, tmp_path, "ARGB", 6, props).reshape(6, -1, 4)
    assert np.array_equal(bgra[..., :3], bgrx[..., :3])
    assert np.array_equal(bgra, argb[..., ::-1])
    i420 = titled(env, tmp_path, "I420", 6, props)
    nv12 = titled(env, tmp_path, "NV12", 6, props)
    assert np.array_equal(i420[:, :W * H], nv12[:, :W * H])
    chroma = i420[:, W * H:].reshape(6, 2, -1)
    assert np.array_equal(np.stack([chroma[:, 0], chroma[:, 1]], -1).reshape(6, -1),
                          nv12[:, W * H:])


def test_the_crawl_is_where_running_time_puts_it_at_any_rate(env, tmp_path):
    props = PROPS + ["text=Same place at the same time"]
    fast = titled(env, tmp_path, "BGRA", 20, props, fps=50)
    slow = titled(env, tmp_path, "BGRA", 10, props, fps=25)
    assert np.array_equal(fast[::2], slow)
    assert not np.array_equal(fast[1], fast[2])


def test_a_new_text_shows_after_the_item_boundary(env, tmp_path):
    import gi
    gi.require_version("Gst", "1.0")
    from gi.repository import Gst
    os.environ.update({k: env[k] for k in ("GST_PLUGIN_PATH", "GST_REGISTRY")})
    Gst.init(None)
    frames = 40

    def run(change_at, prop="text", value="A quite different new text"):
        pipe = Gst.parse_launch(" ".join(source("BGRA", frames)) + " ! flowertitle name=t " +
                                " ".join(PROPS) + " text=Old ! appsink name=sink sync=false")
        title, sink = pipe.get_by_name("t"), pipe.get_by_name("sink")
        seen = [0]

        def change(pad, info):  # on the streaming thread, before buffer `change_at`
            if seen[0] == change_at:
                title.set_property(prop, value)
            seen[0] += 1
            return Gst.PadProbeReturn.OK

        title.get_static_pad("sink").add_probe(Gst.PadProbeType.BUFFER, change)
        pipe.set_state(Gst.State.PLAYING)
        out = []
        while True:
            sample = sink.emit("pull-sample")
            if sample is None:
                break
            buf = sample.get_buffer()
            out.append(np.frombuffer(buf.extract_dup(0, buf.get_size()), np.uint8))
        pipe.set_state(Gst.State.NULL)
        return np.array(out)

    same, changed = run(-1), run(5)
    assert len(same) == len(changed) == frames
    assert np.array_equal(same[:6], changed[:6])  # the old item stays in view
    assert not np.array_equal(same[-1], changed[-1])
    recoloured = run(5, "colour", "#FF0000")  # colours change at once
    assert np.array_equal(same[:5], recoloured[:5])
    assert not np.array_equal(same[5], recoloured[5])


@pytest.mark.parametrize("props, message", [
    (["font=/no/such/font.ttf", "text=x"], "font"),
    (["items-file=/no/such/items.txt"], "items"),
    (["colour=red", "text=x"], "colour"),
    (["shadow=9,x", "text=x"], "shadow"),
])
def test_bad_values_post_an_error_and_stop(env, props, message):
    args = ["gst-launch-1.0"] + source("BGRA", 5) + ["!", "flowertitle"] + props + \
        ["!", "fakesink"]
    run = subprocess.run(args, env=env, capture_output=True, text=True, timeout=60)
    # Bad settings fail the element's start, so the pipeline never pauses.
    assert run.returncode != 0
    assert "Failed to set pipeline to PAUSED" in run.stdout + run.stderr
    assert "ERROR: from element /GstPipeline:pipeline0/GstFlowerTitle" in run.stdout + run.stderr
    assert message in (run.stdout + run.stderr).lower()
