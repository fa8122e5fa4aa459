// Lists of recipe variables, moved both ways against a PLC whose every word is known, with replies
// lost and refused, and with lists replaced while a transfer runs.

#include "fuzz/driver_host.h"
#include "unit/naive_merge.h"

#include <vector>

namespace {

const int MOST_VARIABLES = 24;
const int MOST_TURNS = 80;

/// What the PLC holds in a word of whatever register: not 0, which the buffer begins with.
unsigned short plcWord(int address) {
    return static_cast<unsigned short>((static_cast<quint32>(address) * 7U & 0x7FFFU) | 0x8000U);
}

QByteArray plcReply(const FRAME_PRO& frame) {
    QByteArray reply = goodReply(frame);
    for (int i = 0; 15 + 2 * i < reply.size() && frame.dataLen != 0; ++i) {
        const unsigned short word = plcWord(naive::plus(frame.var.addr, i));
        reply.data()[14 + 2 * i] = static_cast<char>(word >> 8);
        reply.data()[15 + 2 * i] = static_cast<char>(word & 0xFF);
    }
    return reply;
}

/// Which words of the buffer may hold which word of the PLC, of all lists declared so far.
class Expected {
public:
    void declare(const QVector<_RCP_VAR_PRO>& variables) {
        for (const _RCP_VAR_PRO& variable : variables) {
            for (int i = 0; variable.hostTag == driver.hostTag && i < variable.len; ++i) {
                m_words
                    .at(static_cast<std::size_t>(variable.rcpOffset) + static_cast<std::size_t>(i))
                    .push_back(plcWord(naive::plus(variable.addr, i)));
            }
        }
    }
    /// An upload stores each word where one of its variables wants it, and touches no other.
    void check() const {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            const unsigned short word = DriverHost::recipe()[i];
            bool holds = word == 0;
            for (const unsigned short wanted : m_words.at(i)) {
                holds = holds || word == wanted;
            }
            require(holds, "an upload stores what the PLC holds, where it belongs");
        }
    }

private:
    std::vector<std::vector<unsigned short>> m_words{static_cast<std::size_t>(RECIPE_WORDS)};
};

QVector<_RCP_VAR_PRO> declare(Input& input) {
    QVector<_RCP_VAR_PRO> variables;
    int own = 0;
    for (int left = input.upTo(MOST_VARIABLES); left > 0; --left) {
        variables.append(anyVariable(input));
        own += variables.last().hostTag == driver.hostTag ? 1 : 0;
    }
    require(intf_setRcpAddress(variables) == own, "the driver keeps its own variables");
    return variables;
}

/// Uploads alone and one list: the words can be told. Replies are good ones or none.
void uploadAll(Input& input, DriverHost& host) {
    Expected expected;
    expected.declare(declare(input));
    DriverHost::requestUpload();
    for (int turn = 0; turn < MOST_TURNS && DriverHost::recipeRequested(); ++turn) {
        if (host.ask()) {
            host.deal(input.upTo(9) == 9 ? QByteArray() : plcReply(host.frame));
        }
    }
    expected.check();
}

void moveAnyhow(Input& input, DriverHost& host) {
    declare(input);
    for (int turn = 0; turn < MOST_TURNS && !input.empty(); ++turn) {
        const int what = input.upTo(31);
        if (what == 0) {
            declare(input);
        } else if (what <= 3) {
            DriverHost::requestDownload(static_cast<unsigned char>(what));
        } else if (what <= 6) {
            DriverHost::requestUpload(static_cast<unsigned char>(what - 3));
        } else if (what == 7) {
            DriverHost::write(1, QStringLiteral("DM"), 0, 3, input.bytes());
        }
        if (host.ask()) {
            host.deal(what < 20 ? anyReply(host.frame, input) : plcReply(host.frame));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    DriverHost host;
    const bool anyhow = input.flag();
    DriverHost::bind("7#0#0#3#" + QByteArray::number(input.number()));
    if (anyhow) {
        moveAnyhow(input, host);
    } else {
        uploadAll(input, host);
    }
    DriverHost::checkCache();
    return 0;
}
