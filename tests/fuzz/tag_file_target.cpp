// Tag files of any kind, and what the panel shows of the tags that it takes.

#include "fuzz/input.h"
#include "fuzz/own_catalogue.h"
#include "panel/files/tag_file.h"

#include <cmath>

namespace {

const int MOST_VALUES = 200; ///< of a tag, that are shown

void checkTag(const panel::PanelTag& tag, const QStringList& plcs) {
    const velkor_host::RegisterInfo* info = ownCatalogue().find(tag.tag.reg);
    require(info != nullptr, "a tag's register is one");
    require(velkor_host::typeFitsRegister(tag.tag.type, info->bit), "its type fits the register");
    const QString address = velkor_host::addressText(tag.tag.address, info->bit);
    require(ownCatalogue().check(*info, address, tag.tag.itemCount()).valid,
            "all its words are in the register");
    require(!tag.tag.name.isEmpty(), "it has a name");
    require(plcs.contains(tag.plc) || plcs.size() == 1, "its PLC is one");
    require(tag.tag.scaling.scale != 0 && std::isfinite(tag.tag.scaling.scale),
            "its scale is none");
    const std::optional<double>& low = tag.tag.limits.low;
    const std::optional<double>& high = tag.tag.limits.high;
    require(!low || !high || *low <= *high, "its limits are in order");
}

void show(const panel::PanelTag& tag, Input& input) {
    velkor_host::Items items;
    for (int i = 0; i < tag.tag.itemCount() && i < MOST_VALUES; ++i) {
        const int word = input.upTo(65535);
        items.append(static_cast<quint16>(tag.tag.bitRegister() ? word & 1 : word));
    }
    velkor_host::limitOf(tag.tag, items);
    velkor_host::limitsText(tag.tag);
    const QString shown = velkor_host::valueText(tag.tag, items, input.flag());
    require(!shown.isEmpty() || tag.tag.type == velkor_host::ValueType::String, "a value is shown");
    velkor_host::Items typed;
    const QString fault = velkor_host::parseTagValues(tag.tag, {shown}, &typed, input.flag());
    require(fault.isEmpty() || typed.isEmpty(), "a value that is refused gives nothing");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    Input values(bytes, size); // the same bytes decide about the values
    const QStringList plcs = input.flag() ? QStringList{QStringLiteral("a"), QStringLiteral("b")}
                                          : QStringList(QString());
    const panel::TagList list = panel::readTags(input.rest(), ownCatalogue(), plcs);
    require(!list.errors.isEmpty() || !list.tags.isEmpty(), "a file has tags or faults");
    for (int i = 0; i < list.errors.size(); ++i) {
        const panel::CsvError& error = list.errors.at(i);
        require(error.line >= 1 && error.column >= 1, "a fault has a place");
        require(!panel::errorText(QStringLiteral("FILE"), error).contains(QLatin1Char('\n')),
                "it is one line");
    }
    if (list.errors.isEmpty()) {
        for (const panel::PanelTag& tag : list.tags) {
            checkTag(tag, plcs);
            show(tag, values);
        }
    }
    return 0;
}
