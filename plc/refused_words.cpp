#include "plc/refused_words.h"

#include <algorithm>
#include <regex>

namespace plc {

std::optional<RefusedWords> parseRefusedWords(const std::string& text) {
    // Five digits at most: no area has more words, and nothing overflows.
    static const std::regex form(" *([A-Z]+[0-9]?) +([0-9]{1,5})( *- *([0-9]{1,5}))? *");
    std::smatch parts;
    if (!std::regex_match(text, parts, form)) {
        return std::nullopt;
    }
    const std::optional<Area> area = areaNamed(parts[1]);
    if (!area) {
        return std::nullopt;
    }
    RefusedWords range;
    range.area = *area;
    range.first = static_cast<std::uint32_t>(std::stoul(parts[2]));
    range.last = parts[4].matched ? static_cast<std::uint32_t>(std::stoul(parts[4])) : range.first;
    if (range.first > range.last || range.last >= factsOf(*area).size) {
        return std::nullopt;
    }
    return range;
}

bool touches(const ItemRun& run, const std::vector<RefusedWords>& refused) {
    const std::uint32_t perWord = run.kind == ItemKind::Bit ? 16 : 1;
    return run.count > 0 &&
           std::any_of(refused.begin(), refused.end(), [&](const RefusedWords& range) {
               return range.area == run.area && run.first / perWord <= range.last &&
                      (run.first + run.count - 1) / perWord >= range.first;
           });
}

} // namespace plc
