// Font lookup through fontconfig. The fallback order is fontconfig's own sort
// for the primary font's pattern, computed once; a character's fallback is the
// first font in that order whose character set holds it, cached per character.
// The sort is untrimmed: a colour emoji font stays in it even where a plain
// font earlier in the order covers the same characters.
#include "FontSet.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fontconfig/fontconfig.h>
#include <map>
#include <unistd.h>
#include <unordered_map>
#include <vector>

#include "ToolError.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FLOWER_TITLE_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(FLOWER_TITLE_ASAN)
// Fontconfig 2.14 drops a few blocks of the configuration it parses in FcInit
// (once per process, not ours to free); the leak checker is told to skip them.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig.so\n";
}
extern "C" const char* __lsan_default_options()
{
    return "print_suppressions=0";
}
#endif

namespace title {
namespace {

struct PatternDeleter {
    void operator()(FcPattern* p) const { FcPatternDestroy(p); }
};
using PatternPtr = std::unique_ptr<FcPattern, PatternDeleter>;

struct FontSetDeleter {
    void operator()(FcFontSet* s) const { FcFontSetDestroy(s); }
};
using FontSetPtr = std::unique_ptr<FcFontSet, FontSetDeleter>;

bool EndsWithCaseless(const std::string& s, const char* tail)
{
    const std::size_t n = std::char_traits<char>::length(tail);
    if (s.size() < n)
        return false;
    return std::equal(s.end() - std::ptrdiff_t(n), s.end(), tail,
                      [](char a, char b) { return std::tolower((unsigned char)a) == b; });
}

// Strikes smaller than the text scale up badly: take the smallest one at
// least as large, else the largest.
int BestStrike(FT_Face face, int pixelSize)
{
    int best = 0;
    for (int i = 1; i < face->num_fixed_sizes; ++i) {
        const long have = face->available_sizes[best].y_ppem,
                   next = face->available_sizes[i].y_ppem;
        const long want = long(pixelSize) << 6;
        const bool nextFits = next >= want, bestFits = have >= want;
        if ((nextFits && (!bestFits || next < have)) || (!nextFits && !bestFits && next > have))
            best = i;
    }
    return best;
}

bool SetSize(SizedFace& sized, int pixelSize)
{
    FT_Face face = sized.face;
    sized.colour = FT_HAS_COLOR(face);
    if (FT_IS_SCALABLE(face))
        return FT_Set_Pixel_Sizes(face, 0, FT_UInt(pixelSize)) == 0;
    if (!FT_HAS_FIXED_SIZES(face))
        return false;
    const int strike = BestStrike(face, pixelSize);
    if (FT_Select_Size(face, strike) != 0 || face->available_sizes[strike].y_ppem <= 0)
        return false;
    sized.scale = pixelSize / (face->available_sizes[strike].y_ppem / 64.0);
    return true;
}

std::string StringOf(FcPattern* p, const char* object, int n = 0)
{
    FcChar8* s = nullptr;
    return FcPatternGetString(p, object, n, &s) == FcResultMatch ? reinterpret_cast<char*>(s)
                                                                 : std::string();
}

// Family names compare as fontconfig compares them: case and blanks do not count.
bool SameFamily(const std::string& a, const std::string& b)
{
    auto squeeze = [](const std::string& s) {
        std::string out;
        for (char c : s)
            if (c != ' ')
                out.push_back(char(std::tolower((unsigned char)c)));
        return out;
    };
    return squeeze(a) == squeeze(b);
}

// Fontconfig always offers its best guess; a named family it does not have
// means the user's font is not installed.
bool FamilyMatches(FcPattern* wanted, FcPattern* found)
{
    const std::string first = StringOf(wanted, FC_FAMILY);
    if (first.empty())
        return true;
    for (int i = 0;; ++i) {
        const std::string want = StringOf(wanted, FC_FAMILY, i);
        if (want.empty())
            return false;
        for (int j = 0;; ++j) {
            const std::string have = StringOf(found, FC_FAMILY, j);
            if (have.empty())
                break;
            if (SameFamily(want, have))
                return true;
        }
    }
}

} // namespace

bool LooksLikeFontPath(const std::string& spec)
{
    if (spec.find('/') != std::string::npos)
        return true;
    for (const char* ext : {".ttf", ".otf", ".ttc", ".otc", ".pfb", ".pfa", ".woff", ".woff2"})
        if (EndsWithCaseless(spec, ext))
            return true;
    return access(spec.c_str(), F_OK) == 0;
}

struct FontSet::State {
    FT_Library library = nullptr;
    int pixelSize = 0;
    SizedFace primary;
    PatternPtr pattern;   // the primary font's, configured: the fallback order's key
    FontSetPtr fallbacks; // sorted once, on the first character the primary lacks
    std::map<std::pair<std::string, int>, SizedFace> opened; // fallback faces by file and index
    std::unordered_map<char32_t, const SizedFace*> chosen;
    std::unordered_map<char32_t, const SizedFace*> emoji;
    std::unordered_map<FT_Face, const SizedFace*> byFace;

    ~State()
    {
        for (auto& entry : opened)
            FT_Done_Face(entry.second.face);
        if (primary.face)
            FT_Done_Face(primary.face);
        if (library)
            FT_Done_FreeType(library);
    }

    FT_Face Open(const std::string& file, int index)
    {
        FT_Face face = nullptr;
        return FT_New_Face(library, file.c_str(), FT_Long(index), &face) == 0 ? face : nullptr;
    }

    void OpenPrimaryFile(const std::string& path);
    void OpenPrimaryPattern(const std::string& spec);
    const SizedFace* Fallback(char32_t c, bool colourOnly);
};

void FontSet::State::OpenPrimaryFile(const std::string& path)
{
    if (access(path.c_str(), R_OK) != 0)
        throw ToolError("cannot read font '" + path + "': " + std::strerror(errno));
    primary.face = Open(path, 0);
    if (!primary.face)
        throw ToolError("font '" + path + "' is not a font file FreeType can read");
    pattern.reset(FcPatternCreate());
    if (!pattern)
        throw ToolError("out of memory for the font lookup");
    if (primary.face->family_name)
        FcPatternAddString(pattern.get(), FC_FAMILY,
                           reinterpret_cast<const FcChar8*>(primary.face->family_name));
}

void FontSet::State::OpenPrimaryPattern(const std::string& spec)
{
    PatternPtr wanted(FcNameParse(reinterpret_cast<const FcChar8*>(spec.c_str())));
    if (!wanted)
        throw ToolError("'" + spec + "' is neither a font file nor a fontconfig pattern");
    pattern.reset(FcPatternDuplicate(wanted.get()));
    if (!pattern || !FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern))
        throw ToolError("out of memory for the font lookup");
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    PatternPtr match(FcFontMatch(nullptr, pattern.get(), &result));
    if (!match || !FamilyMatches(wanted.get(), match.get()))
        throw ToolError("no installed font matches '" + spec + "'");
    const std::string file = StringOf(match.get(), FC_FILE);
    int index = 0;
    FcPatternGetInteger(match.get(), FC_INDEX, 0, &index);
    primary.face = Open(file, index);
    if (!primary.face)
        throw ToolError("cannot read font '" + file + "' (the match for '" + spec + "')");
}

const SizedFace* FontSet::State::Fallback(char32_t c, bool colourOnly)
{
    if (!fallbacks) {
        FcPattern* key = FcPatternDuplicate(pattern.get());
        if (key && FcConfigSubstitute(nullptr, key, FcMatchPattern))
            FcDefaultSubstitute(key);
        FcResult result = FcResultNoMatch;
        fallbacks.reset(key ? FcFontSort(nullptr, key, FcFalse, nullptr, &result) : nullptr);
        if (key)
            FcPatternDestroy(key);
        if (!fallbacks)
            fallbacks.reset(FcFontSetCreate()); // no fallbacks: everything stays with the primary
        if (!fallbacks)
            throw ToolError("out of memory for the font lookup");
    }
    for (int i = 0; i < fallbacks->nfont; ++i) {
        FcPattern* font = fallbacks->fonts[i];
        FcCharSet* chars = nullptr;
        FcBool colour = FcFalse;
        if (FcPatternGetCharSet(font, FC_CHARSET, 0, &chars) != FcResultMatch ||
            !FcCharSetHasChar(chars, FcChar32(c)) ||
            (colourOnly &&
             (FcPatternGetBool(font, FC_COLOR, 0, &colour) != FcResultMatch || !colour)))
            continue;
        int index = 0;
        FcPatternGetInteger(font, FC_INDEX, 0, &index);
        const auto key = std::make_pair(StringOf(font, FC_FILE), index);
        auto it = opened.find(key);
        if (it == opened.end()) {
            SizedFace sized;
            sized.face = Open(key.first, index);
            if (sized.face && !SetSize(sized, pixelSize)) {
                FT_Done_Face(sized.face);
                sized.face = nullptr;
            }
            it = opened.emplace(key, sized).first;
            if (sized.face)
                byFace[sized.face] = &it->second;
        }
        if (it->second.face && FT_Get_Char_Index(it->second.face, FT_ULong(c)) != 0)
            return &it->second;
    }
    return nullptr;
}

FontSet::FontSet(const std::string& pathOrPattern, int pixelSize) : state(std::make_unique<State>())
{
    if (pathOrPattern.empty())
        throw ToolError("--font needs a font file or a font name");
    if (FT_Init_FreeType(&state->library) != 0)
        throw ToolError("cannot start FreeType");
    if (!FcInit())
        throw ToolError("cannot read the fontconfig configuration");
    state->pixelSize = pixelSize;
    if (LooksLikeFontPath(pathOrPattern))
        state->OpenPrimaryFile(pathOrPattern);
    else
        state->OpenPrimaryPattern(pathOrPattern);
    if (!SetSize(state->primary, pixelSize))
        throw ToolError("font '" + pathOrPattern + "' cannot be scaled to " +
                        std::to_string(pixelSize) + " pixels");
    state->byFace[state->primary.face] = &state->primary;
}

FontSet::~FontSet() = default;

const SizedFace& FontSet::Primary() const
{
    return state->primary;
}

const SizedFace& FontSet::FaceFor(char32_t c)
{
    if (FT_Get_Char_Index(state->primary.face, FT_ULong(c)) != 0)
        return state->primary;
    auto it = state->chosen.find(c);
    if (it == state->chosen.end())
        it = state->chosen.emplace(c, state->Fallback(c, false)).first;
    return it->second ? *it->second : state->primary;
}

const SizedFace& FontSet::EmojiFaceFor(char32_t c)
{
    if (state->primary.colour && FT_Get_Char_Index(state->primary.face, FT_ULong(c)) != 0)
        return state->primary;
    auto it = state->emoji.find(c);
    if (it == state->emoji.end())
        it = state->emoji.emplace(c, state->Fallback(c, true)).first;
    return it->second ? *it->second : FaceFor(c);
}

const SizedFace* FontSet::Find(FT_Face face) const
{
    const auto it = state->byFace.find(face);
    return it == state->byFace.end() ? nullptr : it->second;
}

int FontSet::LineHeight() const
{
    const FT_Face f = state->primary.face;
    return std::max(1,
                    int(std::lround(((f->size->metrics.height + 63) >> 6) * state->primary.scale)));
}

int FontSet::Ascender() const
{
    const FT_Face f = state->primary.face;
    return int(std::lround(((f->size->metrics.ascender + 63) >> 6) * state->primary.scale));
}

} // namespace title
