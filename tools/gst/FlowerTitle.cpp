// flowertitle: crawls and rolls from the title engine drawn in place over the
// frames of a stream, at each buffer's running time.
#include <gst/gst.h>
#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Items.h"
#include "Layout.h"
#include "Overlay.h"
#include "ToolError.h"

namespace {

using title::ItemFeed;
using title::OverlayPatch;

// Property values as the element holds them (under the object lock).
struct Settings {
    std::string text, itemsFile, rollText;
    std::string font = "DejaVu Sans";
    int fontSize = 0;
    std::string colour = "#FFFFFF";
    int outline = 0;
    std::string shadow;
    std::string band = "#102040A0";
    int crawlY = -1;
    double speed = 0;
    int fade = -1;
    int filter = 32;
};

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// The options flower-title would take for the same titles over an input of
// `width` x `height`: the tool's own parser checks every value.
title::Options OptionsOf(const Settings& s, int width, int height)
{
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    std::vector<std::string> args = {"flowertitle", "still", "--benchmark", "--size", size, "--font", s.font,
                                     "--colour", s.colour, "--outline",
                                     std::to_string(s.outline), "--band", s.band, "--filter",
                                     std::to_string(s.filter)};
    auto add = [&args](const char* name, const std::string& value) {
        args.push_back(name);
        args.push_back(value);
    };
    if (s.fontSize > 0)
        add("--font-size", std::to_string(s.fontSize));
    if (!s.shadow.empty())
        add("--shadow", s.shadow);
    if (s.crawlY >= 0)
        add("--crawl-y", std::to_string(s.crawlY));
    if (s.speed != 0)
        add("--speed", std::to_string(s.speed));
    if (s.fade >= 0)
        add("--fade", std::to_string(s.fade));
    std::vector<const char*> argv;
    for (const std::string& a : args)
        argv.push_back(a.c_str());
    title::Options o = title::ParseOptions(int(argv.size()), argv.data());
    o.input = title::InputKind::Bgra; // the stream is the background
    o.crawl = !s.text.empty() || !s.itemsFile.empty();
    o.itemsPath = s.itemsFile.empty() ? std::string("text") : s.itemsFile;
    o.roll = !s.rollText.empty();
    if (o.roll)
        o.rollLines = Lines(s.rollText);
    return o;
}

// What one configuration of the properties draws.
struct Engine {
    std::unique_ptr<ItemFeed> fileFeed; // before the scene: its ticker reads it
    title::Production production;
};

} // namespace

G_BEGIN_DECLS

#define GST_TYPE_FLOWER_TITLE (gst_flower_title_get_type())
G_DECLARE_FINAL_TYPE(GstFlowerTitle, gst_flower_title, GST, FLOWER_TITLE, GstVideoFilter)

struct _GstFlowerTitle {
    GstVideoFilter parent;
    Settings* settings;      // guarded by the object lock
    bool rebuild;            // guarded by the object lock
    title::ItemList* textFeed; // the `text` property as crawl items; thread-safe
    Engine* engine;          // streaming thread only
    title::Matrix matrix;
    std::vector<std::uint8_t>* planes;  // packed Y'CbCr when the frame's are not
    std::vector<std::uint32_t>* pixels; // a packed frame's covered rectangle
};

G_END_DECLS

G_DEFINE_TYPE(GstFlowerTitle, gst_flower_title, GST_TYPE_VIDEO_FILTER)

GST_DEBUG_CATEGORY_STATIC(flower_title_debug);
#define GST_CAT_DEFAULT flower_title_debug

namespace {

enum {
    PROP_0,
    PROP_TEXT,
    PROP_ITEMS_FILE,
    PROP_ROLL_TEXT,
    PROP_FONT,
    PROP_FONT_SIZE,
    PROP_COLOUR,
    PROP_OUTLINE,
    PROP_SHADOW,
    PROP_BAND,
    PROP_CRAWL_Y,
    PROP_SPEED,
    PROP_FADE,
    PROP_FILTER,
};

constexpr GParamFlags kFlags =
    GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);

#define FLOWER_FORMATS "{ BGRA, BGRx, ARGB, I420, NV12 }"

void SetString(std::string& field, const GValue* value)
{
    const char* s = g_value_get_string(value);
    field = s ? s : "";
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* pspec)
{
    GstFlowerTitle* self = GST_FLOWER_TITLE(object);
    GST_OBJECT_LOCK(self);
    Settings& s = *self->settings;
    bool rebuild = true;
    switch (id) {
    case PROP_TEXT: {
        const bool hadCrawl = !s.text.empty();
        SetString(s.text, value);
        self->textFeed->Replace(title::ParseItems(s.text));
        // A running crawl takes the new text at its next item boundary.
        rebuild = hadCrawl != !s.text.empty();
        break;
    }
    case PROP_ITEMS_FILE: SetString(s.itemsFile, value); break;
    case PROP_ROLL_TEXT: SetString(s.rollText, value); break;
    case PROP_FONT: SetString(s.font, value); break;
    case PROP_FONT_SIZE: s.fontSize = g_value_get_int(value); break;
    case PROP_COLOUR: SetString(s.colour, value); break;
    case PROP_OUTLINE: s.outline = g_value_get_int(value); break;
    case PROP_SHADOW: SetString(s.shadow, value); break;
    case PROP_BAND: SetString(s.band, value); break;
    case PROP_CRAWL_Y: s.crawlY = g_value_get_int(value); break;
    case PROP_SPEED: s.speed = g_value_get_double(value); break;
    case PROP_FADE: s.fade = g_value_get_int(value); break;
    case PROP_FILTER: s.filter = g_value_get_int(value); break;
    default:
        rebuild = false;
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
        break;
    }
    self->rebuild = self->rebuild || rebuild;
    GST_OBJECT_UNLOCK(self);
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* pspec)
{
    GstFlowerTitle* self = GST_FLOWER_TITLE(object);
    GST_OBJECT_LOCK(self);
    const Settings& s = *self->settings;
    switch (id) {
    case PROP_TEXT: g_value_set_string(value, s.text.c_str()); break;
    case PROP_ITEMS_FILE: g_value_set_string(value, s.itemsFile.c_str()); break;
    case PROP_ROLL_TEXT: g_value_set_string(value, s.rollText.c_str()); break;
    case PROP_FONT: g_value_set_string(value, s.font.c_str()); break;
    case PROP_FONT_SIZE: g_value_set_int(value, s.fontSize); break;
    case PROP_COLOUR: g_value_set_string(value, s.colour.c_str()); break;
    case PROP_OUTLINE: g_value_set_int(value, s.outline); break;
    case PROP_SHADOW: g_value_set_string(value, s.shadow.c_str()); break;
    case PROP_BAND: g_value_set_string(value, s.band.c_str()); break;
    case PROP_CRAWL_Y: g_value_set_int(value, s.crawlY); break;
    case PROP_SPEED: g_value_set_double(value, s.speed); break;
    case PROP_FADE: g_value_set_int(value, s.fade); break;
    case PROP_FILTER: g_value_set_int(value, s.filter); break;
    default: G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec); break;
    }
    GST_OBJECT_UNLOCK(self);
}

void Finalize(GObject* object)
{
    GstFlowerTitle* self = GST_FLOWER_TITLE(object);
    delete self->engine;
    delete self->textFeed;
    delete self->settings;
    delete self->planes;
    delete self->pixels;
    G_OBJECT_CLASS(gst_flower_title_parent_class)->finalize(object);
}

// Builds the scene again when a property asked for it. Throws ToolError.
void Prepare(GstFlowerTitle* self, int width, int height)
{
    GST_OBJECT_LOCK(self);
    const bool rebuild = self->rebuild || !self->engine;
    const Settings settings = *self->settings;
    self->rebuild = false;
    GST_OBJECT_UNLOCK(self);
    if (!rebuild)
        return;
    delete self->engine;
    self->engine = nullptr;
    const title::Options o = OptionsOf(settings, width, height);
    auto engine = std::make_unique<Engine>();
    ItemFeed* feed = self->textFeed;
    if (!settings.itemsFile.empty()) {
        engine->fileFeed = std::make_unique<title::ItemsFile>(settings.itemsFile);
        feed = engine->fileFeed.get();
    } else {
        // The ticker starts from the full list.
        self->textFeed->Replace(title::ParseItems(settings.text));
    }
    if (o.crawl || o.roll)
        engine->production = title::Produce(o, feed);
    self->engine = engine.release();
}

// Packed 32-bit frames: the covered rectangle of the frame to a BGRA copy
// and back, so strides and the ARGB byte order meet the one compositor.
void TitlePacked(GstFlowerTitle* self, GstVideoFrame* frame, const OverlayPatch& patch)
{
    const int width = GST_VIDEO_FRAME_WIDTH(frame), height = GST_VIDEO_FRAME_HEIGHT(frame);
    const int x0 = std::max(0, patch.x), y0 = std::max(0, patch.y);
    const int x1 = std::min(width, patch.x + patch.width);
    const int y1 = std::min(height, patch.y + patch.height);
    if (x0 >= x1 || y0 >= y1)
        return;
    const int w = x1 - x0, h = y1 - y0;
    const bool argb = GST_VIDEO_FRAME_FORMAT(frame) == GST_VIDEO_FORMAT_ARGB;
    auto* data = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(frame, 0));
    const int stride = GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0);
    std::vector<std::uint32_t>& box = *self->pixels;
    box.resize(std::size_t(w) * h);
    for (int y = 0; y < h; ++y) {
        std::memcpy(&box[std::size_t(y) * w], data + std::ptrdiff_t(y0 + y) * stride + x0 * 4,
                    std::size_t(w) * 4);
        if (argb)
            for (int x = 0; x < w; ++x)
                box[std::size_t(y) * w + x] = GUINT32_SWAP_LE_BE(box[std::size_t(y) * w + x]);
    }
    OverlayPatch moved = patch;
    moved.x -= x0;
    moved.y -= y0;
    title::CompositOverlay(box.data(), w, h, moved);
    for (int y = 0; y < h; ++y) {
        if (argb)
            for (int x = 0; x < w; ++x)
                box[std::size_t(y) * w + x] = GUINT32_SWAP_LE_BE(box[std::size_t(y) * w + x]);
        std::memcpy(data + std::ptrdiff_t(y0 + y) * stride + x0 * 4, &box[std::size_t(y) * w],
                    std::size_t(w) * 4);
    }
}

// Y'CbCr 4:2:0: the planes as the compositor lays them out (Y, Cb, Cr, rows
// packed); the frame's own when they already lie so, else a copy.
class PackedPlanes {
  public:
    PackedPlanes(GstVideoFrame* f, const title::PlanarLayout& l, std::vector<std::uint8_t>& copy)
        : frame(f), layout(l), scratch(copy)
    {
        const std::size_t luma = std::size_t(l.width) * l.height;
        const std::size_t chroma = std::size_t(l.ChromaWidth()) * l.ChromaHeight();
        auto* base = static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(f, 0));
        inPlace = GST_VIDEO_FRAME_FORMAT(f) == GST_VIDEO_FORMAT_I420 &&
                  GST_VIDEO_FRAME_PLANE_STRIDE(f, 0) == l.width &&
                  GST_VIDEO_FRAME_PLANE_STRIDE(f, 1) == l.ChromaWidth() &&
                  GST_VIDEO_FRAME_PLANE_STRIDE(f, 2) == l.ChromaWidth() &&
                  GST_VIDEO_FRAME_PLANE_DATA(f, 1) == base + luma &&
                  GST_VIDEO_FRAME_PLANE_DATA(f, 2) == base + luma + chroma;
        if (inPlace) {
            planes = base;
            return;
        }
        scratch.resize(luma + 2 * chroma);
        planes = scratch.data();
        Move(true);
    }
    ~PackedPlanes()
    {
        if (!inPlace)
            Move(false);
    }
    std::uint8_t* Planes() const { return planes; }

  private:
    // Between the frame and the copy, byte for byte in either direction.
    void Move(bool toCopy)
    {
        const int cw = layout.ChromaWidth(), ch = layout.ChromaHeight();
        auto row = [&](int plane, int y) {
            return static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(frame, plane)) +
                   std::ptrdiff_t(y) * GST_VIDEO_FRAME_PLANE_STRIDE(frame, plane);
        };
        auto copy = [toCopy](std::uint8_t* packed, std::uint8_t* framed, std::size_t n) {
            std::memcpy(toCopy ? packed : framed, toCopy ? framed : packed, n);
        };
        for (int y = 0; y < layout.height; ++y)
            copy(planes + std::size_t(y) * layout.width, row(0, y), std::size_t(layout.width));
        std::uint8_t* cb = planes + std::size_t(layout.width) * layout.height;
        std::uint8_t* cr = cb + std::size_t(cw) * ch;
        const bool nv12 = GST_VIDEO_FRAME_FORMAT(frame) == GST_VIDEO_FORMAT_NV12;
        for (int y = 0; y < ch; ++y) {
            std::uint8_t* b = cb + std::size_t(y) * cw;
            std::uint8_t* r = cr + std::size_t(y) * cw;
            if (!nv12) {
                copy(b, row(1, y), std::size_t(cw));
                copy(r, row(2, y), std::size_t(cw));
                continue;
            }
            std::uint8_t* pairs = row(1, y);
            for (int x = 0; x < cw; ++x) {
                copy(b + x, pairs + 2 * x, 1);
                copy(r + x, pairs + 2 * x + 1, 1);
            }
        }
    }

    GstVideoFrame* frame;
    title::PlanarLayout layout;
    std::vector<std::uint8_t>& scratch;
    std::uint8_t* planes = nullptr;
    bool inPlace = false;
};

title::Matrix MatrixOf(const GstVideoInfo* info)
{
    switch (info->colorimetry.matrix) {
    case GST_VIDEO_COLOR_MATRIX_BT709: return title::Matrix::Bt709;
    case GST_VIDEO_COLOR_MATRIX_BT601: return title::Matrix::Bt601;
    default: return info->height > 576 ? title::Matrix::Bt709 : title::Matrix::Bt601;
    }
}

gboolean SetInfo(GstVideoFilter* filter, GstCaps*, GstVideoInfo* in, GstCaps*, GstVideoInfo*)
{
    GstFlowerTitle* self = GST_FLOWER_TITLE(filter);
    self->matrix = MatrixOf(in);
    GST_OBJECT_LOCK(self);
    self->rebuild = true; // the layout follows the frame size
    GST_OBJECT_UNLOCK(self);
    return TRUE;
}

// Whether the frame's fields show at their own times, and which comes first.
bool Fields(GstVideoFrame* frame, bool& topFirst)
{
    const GstVideoInfo* info = &frame->info;
    const GstVideoInterlaceMode mode = GST_VIDEO_INFO_INTERLACE_MODE(info);
    const bool flagged = GST_BUFFER_FLAG_IS_SET(frame->buffer, GST_VIDEO_BUFFER_FLAG_INTERLACED);
    if (mode != GST_VIDEO_INTERLACE_MODE_INTERLEAVED &&
        !(mode == GST_VIDEO_INTERLACE_MODE_MIXED && flagged))
        return false;
    const GstVideoFieldOrder order = GST_VIDEO_INFO_FIELD_ORDER(info);
    topFirst = order == GST_VIDEO_FIELD_ORDER_UNKNOWN
                   ? GST_BUFFER_FLAG_IS_SET(frame->buffer, GST_VIDEO_BUFFER_FLAG_TFF)
                   : order == GST_VIDEO_FIELD_ORDER_TOP_FIELD_FIRST;
    return true;
}

void TitleFrame(GstFlowerTitle* self, GstVideoFrame* frame, double seconds, double frameSeconds)
{
    title::Scene& scene = *self->engine->production.scene;
    bool topFirst = true;
    const bool fields = Fields(frame, topFirst);
    const std::vector<OverlayPatch>& patches =
        fields ? scene.RenderTitles(seconds, seconds + frameSeconds / 2, topFirst)
               : scene.RenderTitles(seconds);
    const GstVideoFormat format = GST_VIDEO_FRAME_FORMAT(frame);
    if (format != GST_VIDEO_FORMAT_I420 && format != GST_VIDEO_FORMAT_NV12) {
        for (const OverlayPatch& patch : patches)
            TitlePacked(self, frame, patch);
        return;
    }
    if (patches.empty())
        return;
    title::PlanarLayout layout{GST_VIDEO_FRAME_WIDTH(frame), GST_VIDEO_FRAME_HEIGHT(frame), 1, 1,
                               fields};
    PackedPlanes planes(frame, layout, *self->planes);
    title::PlanarCompositor compositor(layout, self->matrix);
    for (const OverlayPatch& patch : patches)
        compositor.Composit(planes.Planes(), patch);
}

void PostSettingsError(GstFlowerTitle* self, const std::exception& e)
{
    // The tool's messages name its options; the element's are properties.
    std::string message = e.what();
    for (std::size_t at = message.find("--"); at != std::string::npos; at = message.find("--"))
        message.erase(at, 2);
    GST_ELEMENT_ERROR(self, LIBRARY, SETTINGS, ("%s", message.c_str()), (nullptr));
}

GstFlowReturn TransformFrameIp(GstVideoFilter* filter, GstVideoFrame* frame)
{
    GstFlowerTitle* self = GST_FLOWER_TITLE(filter);
    GstBaseTransform* base = GST_BASE_TRANSFORM(filter);
    const GstClockTime pts = GST_BUFFER_PTS(frame->buffer);
    const GstClockTime running = gst_segment_to_running_time(&base->segment, GST_FORMAT_TIME, pts);
    if (!GST_CLOCK_TIME_IS_VALID(running))
        return GST_FLOW_OK; // outside the segment: nothing is shown
    const GstVideoInfo* info = &frame->info;
    double frameSeconds = GST_BUFFER_DURATION_IS_VALID(frame->buffer)
                              ? double(GST_BUFFER_DURATION(frame->buffer)) / GST_SECOND
                              : 0;
    if (frameSeconds <= 0 && GST_VIDEO_INFO_FPS_N(info) > 0)
        frameSeconds = double(GST_VIDEO_INFO_FPS_D(info)) / GST_VIDEO_INFO_FPS_N(info);
    try {
        Prepare(self, GST_VIDEO_FRAME_WIDTH(frame), GST_VIDEO_FRAME_HEIGHT(frame));
        if (self->engine->production.scene)
            TitleFrame(self, frame, double(running) / GST_SECOND, frameSeconds);
    } catch (const std::exception& e) {
        PostSettingsError(self, e);
        return GST_FLOW_ERROR;
    }
    return GST_FLOW_OK;
}

// Fonts, items files and values are tried once when the element starts, so
// bad settings fail the state change itself instead of a buffer in the middle
// of prerolling, which a pipeline may not get past cleanly. The engine is
// built again at the frame size with the first buffer.
gboolean Start(GstBaseTransform* base)
{
    GstFlowerTitle* self = GST_FLOWER_TITLE(base);
    try {
        Prepare(self, 1280, 720);
    } catch (const std::exception& e) {
        PostSettingsError(self, e);
        return FALSE;
    }
    GST_OBJECT_LOCK(self);
    self->rebuild = true;
    GST_OBJECT_UNLOCK(self);
    return TRUE;
}

gboolean Stop(GstBaseTransform* base)
{
    GstFlowerTitle* self = GST_FLOWER_TITLE(base);
    delete self->engine;
    self->engine = nullptr;
    return TRUE;
}

void InstallString(GObjectClass* c, guint id, const char* name, const char* blurb,
                   const char* fallback)
{
    g_object_class_install_property(c, id, g_param_spec_string(name, name, blurb, fallback, kFlags));
}

void InstallInt(GObjectClass* c, guint id, const char* name, const char* blurb, int low, int high,
                int fallback)
{
    g_object_class_install_property(
        c, id, g_param_spec_int(name, name, blurb, low, high, fallback, kFlags));
}

} // namespace

static void gst_flower_title_class_init(GstFlowerTitleClass* klass)
{
    GObjectClass* object = G_OBJECT_CLASS(klass);
    object->set_property = SetProperty;
    object->get_property = GetProperty;
    object->finalize = Finalize;
    InstallString(object, PROP_TEXT, "text",
                  "Crawl text; newlines separate items. A change shows at the next item", "");
    InstallString(object, PROP_ITEMS_FILE, "items-file",
                  "Crawl items, one per line, read again when the file changes", "");
    InstallString(object, PROP_ROLL_TEXT, "roll-text", "Roll text; newlines separate lines", "");
    InstallString(object, PROP_FONT, "font", "Font file, or fontconfig name or pattern",
                  "DejaVu Sans");
    InstallInt(object, PROP_FONT_SIZE, "font-size", "Pixel size, 0: frame height / 15", 0, 4096,
               0);
    InstallString(object, PROP_COLOUR, "colour", "Text colour, #RRGGBB or #RRGGBBAA", "#FFFFFF");
    InstallInt(object, PROP_OUTLINE, "outline", "Outline width in pixels, 0 for none", 0, 32, 0);
    InstallString(object, PROP_SHADOW, "shadow",
                  "Drop shadow offset DX,DY (N means N,N), empty for none", "");
    InstallString(object, PROP_BAND, "band", "Band and roll panel colour, #RRGGBBAA",
                  "#102040A0");
    InstallInt(object, PROP_CRAWL_Y, "crawl-y", "Top row of the crawl band, -1: near the bottom",
               -1, 8191, -1);
    g_object_class_install_property(
        object, PROP_SPEED,
        g_param_spec_double("speed", "speed",
                            "Pixels per second in the reading direction, 0: the default",
                            -100000, 100000, 0, kFlags));
    InstallInt(object, PROP_FADE, "fade", "Fade zone in pixels, -1: from the frame size", -1,
               4096, -1);
    InstallInt(object, PROP_FILTER, "filter", "Vertical roll filter strength", 0, 128, 32);

    GstElementClass* element = GST_ELEMENT_CLASS(klass);
    gst_element_class_set_static_metadata(
        element, "Flower titles", "Filter/Effect/Video",
        "Crawls and rolls text over video at sub-pixel positions", "Flower developers");
    GstCaps* caps = gst_caps_from_string(GST_VIDEO_CAPS_MAKE(FLOWER_FORMATS));
    gst_element_class_add_pad_template(element,
                                       gst_pad_template_new("sink", GST_PAD_SINK, GST_PAD_ALWAYS, caps));
    gst_element_class_add_pad_template(element,
                                       gst_pad_template_new("src", GST_PAD_SRC, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);

    GST_BASE_TRANSFORM_CLASS(klass)->start = Start;
    GST_BASE_TRANSFORM_CLASS(klass)->stop = Stop;
    GstVideoFilterClass* video = GST_VIDEO_FILTER_CLASS(klass);
    video->set_info = SetInfo;
    video->transform_frame_ip = TransformFrameIp;
}

static void gst_flower_title_init(GstFlowerTitle* self)
{
    self->settings = new Settings;
    self->rebuild = true;
    self->textFeed = new title::ItemList;
    self->engine = nullptr;
    self->matrix = title::Matrix::Bt709;
    self->planes = new std::vector<std::uint8_t>;
    self->pixels = new std::vector<std::uint32_t>;
}

static gboolean plugin_init(GstPlugin* plugin)
{
    GST_DEBUG_CATEGORY_INIT(flower_title_debug, "flowertitle", 0, "Flower titles");
    return gst_element_register(plugin, "flowertitle", GST_RANK_NONE, GST_TYPE_FLOWER_TITLE);
}

#define PACKAGE "flower"
// The project states no licence of its own, so the plugin claims none.
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, flower,
                  "Crawls and rolls titles over video", plugin_init, FLOWER_VERSION, "unknown",
                  "flower", "Flower")
