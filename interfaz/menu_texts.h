#pragma once
// The captions of the menu entries and controls of the main window, each in Spanish, French and
// English, by the entry's name.
#include <span>
#include <string>
#include <string_view>

#include "comun/context.h"

namespace tornel {

struct Caption {
    const char* name;
    const char* es;
    const char* fr;
    const char* en;
};

// The caption of entry or control `name` in the language in force; empty for an unknown name.
std::string CaptionOf(const Context& c, std::string_view name);
// Every entry that has a caption, in the order of the menus.
std::span<const Caption> Captions();

// The names of the languages in the order of the language menu (the one in force first), each in
// its own language.
struct LanguageOrder {
    const char* a;
    const char* b;
    const char* c;
};
LanguageOrder LanguageMenu(int32_t idioma);
// The language that entries B and C choose from `idioma`.
int32_t LanguageOfB(int32_t idioma);
int32_t LanguageOfC(int32_t idioma);

}  // namespace tornel
