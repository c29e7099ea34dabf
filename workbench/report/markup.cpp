#include "report/markup.h"

namespace workbench {

using nlohmann::json;

std::string withoutMarkup(const json& data) {
    const std::string plain = data.dump(-1, ' ', false, json::error_handler_t::replace);
    std::string text;
    text.reserve(plain.size());
    for (char c : plain)
        if (c == '<')
            text += "\\u003c";
        else
            text += c;
    return text;
}

}  // namespace workbench
