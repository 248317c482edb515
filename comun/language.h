#pragma once
// Every user-visible text comes in three languages, Spanish, French and English, in that order.
#include <string>
#include <string_view>

#include "comun/context.h"

namespace tornel {

// The text of gIdioma: 1 Spanish, 2 French, anything else English.
inline std::string Pick(const Context& c, std::string_view es, std::string_view fr, std::string_view en) {
    switch (c.gIdioma) {
        case 1:
            return std::string(es);
        case 2:
            return std::string(fr);
        default:
            return std::string(en);
    }
}

}  // namespace tornel
