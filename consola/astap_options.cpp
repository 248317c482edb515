#include "consola/astap_options.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>

#include "comun/numbers.h"

namespace tornel {
namespace {

bool EndsWith(const std::string& text, const std::string& tail) {
    const std::string lower = ToLower(text);
    return lower.size() >= tail.size() && lower.compare(lower.size() - tail.size(), tail.size(), tail) == 0;
}

// The image's path without its extension, the contract's default base.
std::string WithoutExtension(const std::string& path) {
    const auto dot = path.find_last_of('.'), slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return path;
    return path.substr(0, dot);
}

// A value in [low, high]; `what` says what was expected.
std::string InRange(const std::string& name, const std::string& text, double low, double high,
                    const char* what, double& value) {
    const auto v = ParseNumber(text);
    if (!v || *v < low || *v > high)
        return "the value of " + name + " must be " + what + ", not '" + text + "'";
    value = *v;
    return "";
}

// What each option of the contract does with its value (when it takes one).
struct Option {
    bool takesValue;
    std::function<std::string(AstapRequest&, const std::string&)> apply;
};

const std::map<std::string, Option>& Options() {
    static const std::map<std::string, Option> options = {
        {"-f",
         {true,
          [](AstapRequest& r, const std::string& v) {
              r.options.image = v;
              return std::string(v.empty() ? "-f needs an image" : "");
          }}},
        {"-ra",
         {true,
          [](AstapRequest& r, const std::string& v) {
              double hours = 0;
              auto e = InRange("-ra", v, 0, 24, "hours from 0 to 24", hours);
              r.options.ra = std::fmod(hours * 15, 360.0);
              return e;
          }}},
        {"-spd",
         {true,
          [](AstapRequest& r, const std::string& v) {
              double spd = 0;
              auto e = InRange("-spd", v, 0, 180, "degrees from the south pole, 0 to 180", spd);
              r.options.dec = spd - 90;
              return e;
          }}},
        {"-r",
         {true,
          [](AstapRequest& r, const std::string& v) {
              double radius = 0;
              auto e = InRange("-r", v, 0, 180, "degrees from 0 to 180", radius);
              // 0 says nothing of the search: the solve's own window stands.
              if (radius > 0) r.options.radius = radius;
              return e;
          }}},
        {"-fov",
         {true,
          [](AstapRequest& r, const std::string& v) {
              double fov = 0;
              auto e = InRange("-fov", v, 0, 180, "degrees from 0 to 180", fov);
              if (fov > 0) r.fov = fov;
              return e;
          }}},
        {"-s",
         {true,
          [](AstapRequest& r, const std::string& v) {
              double stars = 0;
              auto e = InRange("-s", v, 0, 32767, "a whole number from 0 to 32767", stars);
              if (e.empty() && stars != std::floor(stars))
                  e = "the value of -s must be a whole number, not '" + v + "'";
              if (stars > 0) r.options.starsAtMost = static_cast<int>(stars);
              return e;
          }}},
        {"-o",
         {true,
          [](AstapRequest& r, const std::string& v) {
              // KStars names the .ini itself: both the .ini and the .wcs go beside it.
              r.base = EndsWith(v, ".ini") || EndsWith(v, ".wcs") ? v.substr(0, v.size() - 4) : v;
              return std::string(v.empty() ? "-o needs a name" : "");
          }}},
        {"-wcs",
         {false, [](AstapRequest& r, const std::string&) { return (r.writeWcs = true, std::string()); }}},
        {"-update",
         {false, [](AstapRequest& r, const std::string&) { return (r.update = true, std::string()); }}},
        {"-log", {false, [](AstapRequest& r, const std::string&) { return (r.log = true, std::string()); }}},
    };
    return options;
}

}  // namespace

AstapRequest ParseAstapCommandLine(const std::vector<std::string>& args) {
    AstapRequest r;
    for (const auto& a : args)
        r.commandLine += (r.commandLine.empty() ? "" : " ") + a;
    for (size_t i = 0; i < args.size() && r.error.empty(); ++i) {
        const auto option = Options().find(args[i]);
        if (option == Options().end()) {
            // -z, -speed, -sip, -t, -m, -check, -d, -D, -progress, -analyse, -annotate and whatever the
            // clients add: accepted and ignored, with the value that follows when there is one.
            std::string ignored = args[i];
            if (i + 1 < args.size() &&
                (args[i + 1].empty() || args[i + 1][0] != '-' || ParseNumber(args[i + 1])))
                ignored += " " + args[++i];
            r.ignored.push_back(ignored);
            continue;
        }
        std::string value;
        if (option->second.takesValue) {
            if (i + 1 >= args.size()) {
                r.error = args[i] + " needs a value";
                break;
            }
            value = args[++i];
        }
        r.error = option->second.apply(r, value);
    }
    if (r.error.empty() && r.options.image.empty()) r.error = "no image given: -f IMAGE";
    if (r.error.empty() && r.options.ra.has_value() != r.options.dec.has_value())
        r.error = "-ra and -spd go together";
    if (r.base.empty()) r.base = WithoutExtension(r.options.image);
    return r;
}

std::string SettleFieldHeight(AstapRequest& r, int height) {
    if (!r.fov) return "";
    if (height <= 0) return "the height of " + r.options.image + " cannot be read for -fov";
    r.options.scale = *r.fov * 3600 / height;
    return "";
}

}  // namespace tornel
