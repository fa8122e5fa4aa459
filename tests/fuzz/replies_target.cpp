// Replies, right and wrong, to each kind of request: read of words and of bits, cyclic and once,
// write, long write, recipe both ways, change of the PLC's mode, node numbers.

#include "fins/plc_mode.h"
#include "fuzz/driver_host.h"

namespace {

const int MOST_TURNS = 60;

enum Kind {
    READ_WORDS,
    READ_BITS,
    READ_ONCE,
    READ_BITS_ONCE,
    WRITE_WORDS,
    WRITE_BITS,
    WRITE_LONG,
    DOWNLOAD,
    UPLOAD,
    NODE_NUMBERS,
    KINDS
};

void poll(const QString& reg, int addr, int len) {
    QList<KEY_ADDRESS> keys;
    keys.append(keyOf(reg, addr, len));
    intf_addrMerge(keys);
}

void declareRecipe(Input& input) {
    QVector<_RCP_VAR_PRO> variables;
    for (int left = 1 + input.upTo(7); left > 0; --left) {
        variables.append(anyVariable(input));
    }
    intf_setRcpAddress(variables);
}

void request(Kind kind, Input& input) {
    const int addr = input.number();
    const int len = 1 + input.upTo(255);
    switch (kind) {
    case READ_WORDS:
        return poll(QStringLiteral("DM"), addr, len);
    case READ_BITS:
        return poll(QStringLiteral("CIO_bit"), addr, len);
    case READ_ONCE:
        intf_addConditionRead(keyOf(QStringLiteral("C"), addr, len), 3);
        return;
    case READ_BITS_ONCE: {
        KEY_ADDRESS key = keyOf(QStringLiteral("HR_bit"), addr, len);
        key.countKind = -1;
        intf_addConditionRead(key, 3);
        return;
    }
    case WRITE_WORDS:
        return DriverHost::write(1, QStringLiteral("DM"), addr, len, input.bytes());
    case WRITE_BITS:
        return DriverHost::write(1, QStringLiteral("CIO_bit"), addr, len, input.bytes());
    case WRITE_LONG:
        return DriverHost::write(1, QStringLiteral("DM"), addr, 8 * len, input.bytes());
    case DOWNLOAD:
        declareRecipe(input);
        return DriverHost::requestDownload();
    case UPLOAD:
        declareRecipe(input);
        return DriverHost::requestUpload();
    default:
        driver.nodeLearned = 0;
        connectToServer();
    }
}

QByteArray settings(Input& input) {
    const QByteArray retries = QByteArray::number(input.upTo(6));
    return "7#0#0#" + retries + '#' + QByteArray::number(input.number());
}

/// The words that a reply has brought are those that the host sees.
void checkWords(const FRAME_PRO& frame, const QByteArray& reply) {
    const int count = frame.dataLen / 2;
    const QString& reg = frame.var.regName;
    if (count < 1 || !driver.writeList.isEmpty() || reg.endsWith(QLatin1String("_bit"))) {
        return;
    }
    const QByteArray seen = DriverHost::data(frame.var.station, reg, frame.var.addr, count);
    for (int i = 0; i < 2 * count; i += 2) {
        require(seen.at(i) == reply.at(15 + i) && seen.at(i + 1) == reply.at(14 + i),
                "a word read is the word seen");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    DriverHost host;
    const Kind kind = static_cast<Kind>(input.upTo(KINDS - 1));
    DriverHost::bind(settings(input));
    poll(QStringLiteral("DM"), 0, input.upTo(64)); // monitored, so that there are callbacks
    request(kind, input);
    for (int turn = 0; turn < MOST_TURNS && !input.empty(); ++turn) {
        if (host.ask()) {
            const QByteArray reply = anyReply(host.frame, input);
            const bool teachesNodes = driver.nodeLearned == 0; // then its words are not taken
            if (host.deal(reply) == REPLY_ACCEPTED && !teachesNodes) {
                checkWords(host.frame, reply);
            }
        }
    }
    DriverHost::checkCache();
    return 0;
}
