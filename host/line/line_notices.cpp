#include "host/line/line_notices.h"

namespace velkor_host {
namespace {

template <typename Listener, typename... Arguments>
void call(const Listener& listener, const Arguments&... arguments) {
    if (listener) {
        const Listener kept = listener; // it may be replaced, or go with the line
        kept(arguments...);
    }
}

} // namespace

bool wanted(const Notice& notice, const Line* line) {
    return line != nullptr && std::visit(
                                  [line](const auto& content) {
                                      using Kind = std::decay_t<decltype(content)>;
                                      if constexpr (std::is_same_v<Kind, TagsChanged>) {
                                          return bool(line->onTags);
                                      } else if constexpr (std::is_same_v<Kind, ScanEnded>) {
                                          return bool(line->onScan);
                                      } else if constexpr (std::is_same_v<Kind, RequestEnd>) {
                                          return bool(line->onRequest);
                                      } else if constexpr (std::is_same_v<Kind, RecipeProgress>) {
                                          return bool(line->onRecipeProgress);
                                      } else {
                                          return true; // outcomes: the listener may still be set
                                      }
                                  },
                                  notice);
}

void tell(const Notice& notice, const Line& line) {
    std::visit(
        [&line](const auto& content) {
            using Kind = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<Kind, TagsChanged>) {
                call(line.onTags, content.indices);
            } else if constexpr (std::is_same_v<Kind, ScanEnded>) {
                call(line.onScan);
            } else if constexpr (std::is_same_v<Kind, WriteOutcome>) {
                call(line.onWrite, content);
            } else if constexpr (std::is_same_v<Kind, ReadOutcome>) {
                call(line.onRead, content);
            } else if constexpr (std::is_same_v<Kind, RecipeOutcome>) {
                call(line.onRecipe, content);
            } else if constexpr (std::is_same_v<Kind, RecipeProgress>) {
                call(line.onRecipeProgress, content.id, content.words, content.ofWords);
            } else {
                call(line.onRequest, content);
            }
        },
        notice);
}

} // namespace velkor_host
