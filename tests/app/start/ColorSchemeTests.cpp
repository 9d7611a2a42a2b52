#include "app/start/ColorScheme.h"

#include <gtest/gtest.h>

namespace vorda {
namespace {

using colorscheme::Scheme;

TEST(ColorScheme, TheOverrideThenGtkThenGnomeDecide) {
    struct Row {
        const char* override;
        const char* gtkTheme;
        const char* gsettings;
        std::optional<Scheme> expected;
    };
    for (const Row& row : {
             Row{"", "", "", std::nullopt},
             Row{" Dark\n", "", "'prefer-light'", Scheme::dark},
             Row{"light", "Adwaita:dark", "'prefer-dark'", Scheme::light},
             Row{"bogus", "Adwaita:dark", "", Scheme::dark},
             Row{"", "Adwaita", "'prefer-dark'\n", Scheme::dark},
             Row{"", "", "'default'", Scheme::light},
             Row{"", "", "No such schema", std::nullopt},
         }) {
        EXPECT_EQ(colorscheme::requested(row.override, row.gtkTheme, row.gsettings), row.expected)
            << row.override << "|" << row.gtkTheme << "|" << row.gsettings;
    }
    EXPECT_TRUE(colorscheme::isDark(colorscheme::darkPalette()));
    EXPECT_FALSE(colorscheme::isDark(QPalette(QColor(0xee, 0xee, 0xee))));
}

}  // namespace
}  // namespace vorda
