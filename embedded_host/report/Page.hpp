#pragma once

#include <string_view>

namespace tovrinhost {

// The page of a report: page.html with page.css and page.js in it. The data stands between the two.
extern const std::string_view pageBeforeData;
extern const std::string_view pageBehindData;

} // namespace tovrinhost
