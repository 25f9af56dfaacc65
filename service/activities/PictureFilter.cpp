#include "activities/EncodingPlan.h"
#include "engines/Ffmpeg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace krxservice {

namespace {

constexpr int kHighestSd = 576; ///< lines, up to which pictures are 601 unless they say something else

/// The numbers that colours are described with, as ffmpeg calls them.
struct Colors
{
    std::string matrix;
    std::string primaries;
    std::string transfer;
    std::string range;
};

/// How far a linked source is scaled down, by the code of the option.
struct Debayer
{
    int code;
    int divisor;
    const char* algorithm;
};
constexpr std::array<Debayer, 5> kDebayers = {{
    {5, 2, "lanczos"},
    {10, 2, "fast_bilinear"},
    {20, 4, "area"},
    {30, 8, "area"},
    {40, 16, "area"},
}};

bool isRgb(const std::string& pixelFormat)
{
    for (const char* start :
         {"rgb", "bgr", "gbr", "argb", "abgr", "pal8", "x2rgb", "x2bgr", "0rgb", "0bgr"}) {
        if (pixelFormat.rfind(start, 0) == 0)
            return true;
    }
    return false;
}

bool isKnown(const std::string& text)
{
    return !text.empty() && text != "unknown" && text != "unspecified" && text != "reserved";
}

/// What the source says of its colours, or what such pictures usually have.
Colors colorsOf(const StreamFacts& source)
{
    const bool isSd = source.height <= kHighestSd;
    const bool is625 = isSd && source.height > 480;
    const std::string usual = isSd ? (is625 ? "bt470bg" : "smpte170m") : "bt709";
    Colors colors;
    colors.matrix = isRgb(source.pixelFormat)    ? "gbr"
                    : isKnown(source.colorSpace) ? source.colorSpace
                                                 : usual;
    if (!isRgb(source.pixelFormat) && (colors.matrix == "gbr" || colors.matrix == "rgb"))
        colors.matrix = usual;
    colors.primaries = isKnown(source.colorPrimaries) ? source.colorPrimaries : usual;
    colors.transfer = isKnown(source.colorTransfer) ? source.colorTransfer : isSd ? "smpte170m" : "bt709";
    const bool isFull =
        source.colorRange == "pc" || isRgb(source.pixelFormat) || source.pixelFormat.rfind("yuvj", 0) == 0;
    colors.range = isFull ? "pc" : "tv";
    return colors;
}

Colors colorsOf(const PictureTarget& target)
{
    if (target.isRgb)
        return {"gbr", "bt709", "bt709", "pc"};
    if (target.colorSpace.find("601") == std::string::npos)
        return {"bt709", "bt709", "bt709", "tv"};
    return {"smpte170m", target.height > 480 ? "bt470bg" : "smpte170m", "smpte170m", "tv"};
}

/// As zscale calls it.
std::string zscaleName(const std::string& name)
{
    return name == "bt709"       ? "709"
           : name == "smpte170m" ? "170m"
           : name == "pc"        ? "full"
           : name == "tv"        ? "limited"
                                 : name;
}

/// zscale knows fewer names; the rest is taken for the nearest.
std::string zscaleMatrix(const std::string& matrix)
{
    constexpr std::array<const char*, 9> kKnown = {"bt709", "fcc",      "bt470bg", "smpte170m", "smpte240m",
                                                   "ycgco", "bt2020nc", "bt2020c", "gbr"};
    const bool isIn = std::find(kKnown.begin(), kKnown.end(), matrix) != kKnown.end();
    return zscaleName(isIn ? matrix : "bt709");
}

/// As scale calls it.
std::string scaleMatrix(const std::string& matrix)
{
    if (matrix == "bt470bg")
        return "bt470";
    if (matrix == "bt2020nc" || matrix == "bt2020c")
        return "bt2020";
    return matrix == "smpte170m" || matrix == "smpte240m" || matrix == "fcc" ? matrix : "bt709";
}

std::string zscaleTransfer(const std::string& transfer)
{
    constexpr std::array<const char*, 12> kKnown = {"bt709",     "bt470m",    "bt470bg",      "smpte170m",
                                                    "linear",    "log100",    "log316",       "bt2020-10",
                                                    "bt2020-12", "smpte2084", "iec61966-2-1", "arib-std-b67"};
    const bool isIn = std::find(kKnown.begin(), kKnown.end(), transfer) != kKnown.end();
    return transfer == "bt709" || !isIn ? "709" : transfer == "smpte170m" ? "601" : transfer;
}

std::string zscalePrimaries(const std::string& primaries)
{
    constexpr std::array<const char*, 10> kKnown = {"bt709", "bt470m", "bt470bg",  "smpte170m", "smpte240m",
                                                    "film",  "bt2020", "smpte428", "smpte431",  "smpte432"};
    const bool isIn = std::find(kKnown.begin(), kKnown.end(), primaries) != kKnown.end();
    return zscaleName(isIn ? primaries : "bt709");
}

class Chain
{
public:
    void add(const std::string& filter) { m_text += (m_text.empty() ? "" : ",") + filter; }
    /// Brings what was added to the target's rate, or \a times that: pictures are left out or shown again, so
    /// that all takes as long as before. How long the last one is shown is told by one more behind it, which
    /// is left out again: the filter for the rate would take its beginning for the end of all.
    void end(const PictureTarget& target, const std::string& shape, int times)
    {
        m_text +=
            "[shown];color=black:s=" + std::to_string(target.width) + 'x' + std::to_string(target.height) +
            ":r=1000:d=0.001," + shape +
            "[end];[shown][end]concat=n=2:v=1:a=0,fps=" + std::to_string(target.rate.numerator * times) +
            '/' + std::to_string(target.rate.denominator) + ":start_time=0";
    }
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

int even(double value)
{
    return std::max(2, static_cast<int>(std::lround(value / 2)) * 2);
}

std::string size(int width, int height)
{
    return std::to_string(width) + ':' + std::to_string(height);
}

double fraction(const std::string& text)
{
    const FrameRate value = FrameRate::from(text);
    return value.value() > 0 ? value.value() : 1;
}

/// How wide a picture is shown for its height.
double aspectOf(const StreamFacts& source)
{
    const double aspect =
        source.height > 0 ? fraction(source.sampleAspect) * source.width / source.height : 16.0 / 9;
    return source.turn % 180 == 0 ? aspect : 1 / aspect;
}

/// The picture's size within the raster: all of it with bars around, or all of the raster with edges cut.
struct Fitting
{
    int width;
    int height;
};

Fitting fit(double aspect, const PictureTarget& target, bool inside)
{
    // Of a pixel, when it is shown.
    const double stretch =
        double(target.aspectWidth) * target.height / (double(target.aspectHeight) * target.width);
    const double wide = target.height * aspect / stretch; // at the raster's full height
    const bool isWider = wide > target.width;
    if (std::abs(wide - target.width) < 1.5)
        return {target.width, target.height};
    if (isWider == inside)
        return {target.width, even(target.height * target.width / wide)};
    return {even(wide), target.height};
}

std::string scaling(const Fitting& to, const Colors& from, const PictureTarget& target, bool interlaced)
{
    const Colors wanted = colorsOf(target);
    if (target.transformsColors)
        return "zscale=w=" + std::to_string(to.width) + ":h=" + std::to_string(to.height) +
               ":min=" + zscaleMatrix(from.matrix) + ":pin=" + zscalePrimaries(from.primaries) +
               ":tin=" + zscaleTransfer(from.transfer) + ":rin=" + zscaleName(from.range) +
               ":m=" + zscaleMatrix(wanted.matrix) + ":p=" + zscalePrimaries(wanted.primaries) +
               ":t=" + zscaleTransfer(wanted.transfer) + ":r=" + zscaleName(wanted.range);
    // Between pictures of one kind the matrix is not touched, however both are tagged. Else the one that is
    // not red, green and blue tells how to come from one to the other.
    const bool wasRgb = from.matrix == "gbr";
    const std::string matrix = wasRgb || wanted.matrix != "gbr" ? wanted.matrix : from.matrix;
    const std::string name = scaleMatrix(matrix);
    return "scale=" + size(to.width, to.height) + ":flags=bicubic+accurate_rnd+full_chroma_int" +
           ":in_color_matrix=" + name + ":out_color_matrix=" + name + ":in_range=" + from.range +
           ":out_range=" + wanted.range + (interlaced ? ":interl=1" : ":interl=0");
}

} // namespace

std::string pictureFilter(const StreamFacts& source, FrameRate sourceRate, const PictureTarget& target,
                          bool isSingle)
{
    Chain chain;
    chain.add(Ffmpeg::trimming());
    const bool wasInterlaced = source.fieldOrder == "top" || source.fieldOrder == "bottom";
    const bool isInterlaced = target.fields != "progressive";
    const Fitting inside = fit(aspectOf(source), target, target.reformats);
    const bool sameLines = source.turn == 0 && inside.height == source.height && target.debayer == 0 &&
                           (target.height == source.height) && !target.transformsColors;
    const bool sameRate = std::abs(sourceRate.value() - target.rate.value()) < 0.01;
    // Fields stay fields only where every line stays where it is, and when it is shown.
    const bool keepsFields = wasInterlaced && isInterlaced && sameLines && sameRate;
    const bool makesFields = wasInterlaced && isInterlaced && !keepsFields;
    if (wasInterlaced)
        chain.add(source.fieldOrder == "top" ? "setfield=tff" : "setfield=bff");
    else if (source.fieldOrder == "progressive")
        chain.add("setfield=prog");
    if (wasInterlaced && !keepsFields) {
        const bool wantsAllFields = makesFields || target.rate.value() > sourceRate.value() * 1.5;
        chain.add(std::string("bwdif=mode=") + (wantsAllFields ? "send_field" : "send_frame") + ":deint=all");
    }
    if (source.turn == 90)
        chain.add("transpose=clock");
    else if (source.turn == 180)
        chain.add("hflip,vflip");
    else if (source.turn == 270)
        chain.add("transpose=cclock");
    for (const auto& debayer : kDebayers) {
        if (debayer.code == target.debayer)
            chain.add("scale=max(2\\,trunc(iw/" + std::to_string(2 * debayer.divisor) +
                      ")*2):max(2\\,trunc(ih/" + std::to_string(2 * debayer.divisor) +
                      ")*2):flags=" + debayer.algorithm);
    }
    chain.add(scaling(inside, colorsOf(source), target, keepsFields));
    if (inside.width > target.width || inside.height > target.height)
        chain.add("crop=" + size(target.width, target.height));
    else if (inside.width < target.width || inside.height < target.height)
        chain.add("pad=" + size(target.width, target.height) + ":(ow-iw)/2:(oh-ih)/2:black");
    const int across = target.aspectWidth * target.height;
    const int down = target.aspectHeight * target.width;
    const int common = std::gcd(across, down);
    const std::string shape =
        "setsar=" + std::to_string(across / common) + '/' + std::to_string(down / common);
    chain.add(shape);
    if (!isSingle)
        chain.end(target, shape, makesFields ? 2 : 1);
    if (makesFields)
        chain.add(std::string("interlace=lowpass=0:scan=") + (target.fields == "top" ? "tff" : "bff"));
    if (keepsFields && source.fieldOrder != target.fields)
        chain.add(target.fields == "top" ? "fieldorder=tff" : "fieldorder=bff");
    chain.add(target.fields == "progressive" ? "setfield=prog"
              : target.fields == "top"       ? "setfield=tff"
                                             : "setfield=bff");
    const Colors wanted = colorsOf(target);
    chain.add("setparams=colorspace=" + wanted.matrix + ":color_primaries=" + wanted.primaries +
              ":color_trc=" + wanted.transfer + ":range=" + wanted.range);
    return chain.text();
}

std::vector<std::string> pictureTags(const PictureTarget& target)
{
    const Colors wanted = colorsOf(target);
    std::vector<std::string> tags = {"-colorspace",      wanted.matrix == "gbr" ? "rgb" : wanted.matrix,
                                     "-color_primaries", wanted.primaries,
                                     "-color_trc",       wanted.transfer,
                                     "-color_range",     wanted.range};
    if (target.fields != "progressive")
        tags.insert(tags.end(), {"-flags:v", "+ildct+ilme", "-top", target.fields == "top" ? "1" : "0"});
    return tags;
}

} // namespace krxservice
