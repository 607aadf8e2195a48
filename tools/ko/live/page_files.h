// The files of the page, as they are in the folder `page`.
#pragma once

#include <string_view>

namespace ko::tool {

extern const std::string_view pageHtml;
extern const std::string_view pageStyle;
extern const std::string_view pageScript;
extern const std::string_view pageIcon;

}  // namespace ko::tool
