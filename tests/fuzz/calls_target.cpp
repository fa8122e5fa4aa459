// Whole sequences of calls to all eighteen entry points, and to the three other exported names,
// with callbacks that call back.

#include "data/change_notice.h"
#include "fins/plc_mode.h"
#include "fuzz/driver_host.h"

#include <algorithm>

namespace {

const int MOST_CALLS = 150;
const int MOST_CALLS_BACK = 60;

class Sequence {
public:
    explicit Sequence(Input& input) : m_input(input) {
        m_host.onNotice = [this] { callBack(); };
    }

    void run() {
        for (int call = 0; call < MOST_CALLS && !m_input.empty(); ++call) {
            step(m_input.upTo(31));
            DriverHost::checkState();
        }
        DriverHost::checkCache();
    }

private:
    /// Inside a callback the host may use the first five and the queries.
    void callBack() {
        if (m_input.empty() || ++m_callsBack > MOST_CALLS_BACK) {
            return;
        }
        const int what = m_input.upTo(7);
        if (what < 5) {
            allowedInCallback(what);
        } else if (what == 5) {
            query();
        }
    }

    void allowedInCallback(int what) {
        const KEY_ADDRESS key = anyKey(m_input);
        switch (what) {
        case 0:
            DriverHost::data(key.station, key.regName, key.addr, key.len);
            break;
        case 1:
        case 2:
            DriverHost::write(key.station, key.regName, key.addr, key.len, m_input.bytes());
            break;
        case 3:
            require(intf_addConditionRead(key, m_input.byte()) == 1, "addConditionRead gives 1");
            break;
        default: // of any length: it takes bounded time
            intf_addConditionRead(keyOf(key.regName, key.addr, m_input.number()), 3);
        }
    }

    void query() {
        const QString reg = registerName(m_input);
        const QString text = m_input.text();
        QList<QString> names;
        QString parameter;
        QString page;
        int out = 0;
        intf_getProtocolType(&out);
        intf_getDriverParameter(parameter);
        intf_getDriverPropertyPage(page);
        const int kind = m_input.upTo(2);
        const int count = m_input.number();
        intf_getRegListByType(kind, names);
        intf_getRegDiscription(reg, names);
        intf_checkAddrValidity(reg, text, &out, count, kind);
        intf_checkAddr(reg, text, &out, kind - 1, count, kind);
    }

    void step(int what) {
        if (what < 5) {
            return allowedInCallback(what);
        }
        if (what < 12) {
            return exchange(true);
        }
        if (what < 18) {
            return exchange(false);
        }
        switch (what) {
        case 18:
        case 19:
            return merge();
        case 20:
        case 21:
            return declareRecipe();
        case 22:
            return DriverHost::requestDownload(m_input.byte());
        case 23:
            return DriverHost::requestUpload(m_input.byte());
        case 24:
            return query();
        case 25:
            return layOut();
        case 26:
            return bind();
        case 27:
            return intf_SetDriverPropertyPage(m_input.text());
        case 28:
            return othersExported();
        case 29:
            m_host.ask();
            return;
        case 30:
            m_host.deal(m_input.bytes());
            return;
        default:
            return flood();
        }
    }

    void exchange(bool good) {
        if (m_host.ask()) {
            m_host.deal(good ? goodReply(m_host.frame, m_input.byte())
                             : anyReply(m_host.frame, m_input));
        }
    }

    void merge() {
        QList<KEY_ADDRESS> keys;
        for (int left = m_input.upTo(12); left > 0; --left) {
            keys.append(anyKey(m_input));
        }
        const int count = intf_addrMerge(keys);
        require(count == keys.size(), "addrMerge gives the number of blocks");
    }

    void declareRecipe() {
        QVector<_RCP_VAR_PRO> variables;
        for (int left = m_input.upTo(8); left > 0; --left) {
            variables.append(anyVariable(m_input));
        }
        intf_setRcpAddress(variables);
    }

    void layOut() {
        QVector<QString> texts;
        QVector<int> values;
        const QString reg = registerName(m_input);
        const int start = m_input.number();
        const int count = std::min(m_input.number(), 100);
        intf_multiCopy(reg, start, count, m_input.number(), texts, values);
        require(texts.size() == values.size(), "a text for each value");
    }

    void bind() {
        const char* const usual[] = {"7#0#0#3#64", "7#1#0#2#1", "7#0#0#0#503", "7#0#0#1#-1",
                                     "7#0#0#3#8",  "7",         "7#0#0#3#2000"};
        const int choice = m_input.upTo(7);
        DriverHost::bind(choice < 7 ? QByteArray(usual[choice]) : m_input.bytes());
        if (choice == 6) {
            driver.SID = 253; // as after 253 frames: the next but one begins anew
        }
    }

    void othersExported() {
        if (m_input.flag()) {
            driver.nodeLearned = static_cast<unsigned char>(m_input.upTo(1));
            return connectToServer();
        }
        unsigned char before = m_input.byte();
        unsigned char after = m_input.byte();
        const QString reg = registerName(m_input);
        _byteDataChange(&before, &after, 1, reg, m_input.number());
    }

    /// More requests than a list holds.
    void flood() {
        const QString reg = registerName(m_input);
        const int first = m_input.number();
        const int count = 3 * m_input.byte();
        const bool writes = m_input.flag();
        for (int i = 0; i < count; ++i) {
            const int addr = static_cast<int>(static_cast<quint32>(first) + 2U * quint32(i));
            if (writes) {
                DriverHost::write(1, reg, addr, 1, QByteArray(2, static_cast<char>(i)));
            } else {
                intf_addConditionRead(keyOf(reg, addr, 1), 3);
            }
        }
    }

    Input& m_input;
    DriverHost m_host;
    int m_callsBack = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    Sequence(input).run();
    return 0;
}
