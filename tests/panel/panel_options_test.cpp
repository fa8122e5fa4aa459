#include "panel/options/options.h"

#include "panel/text.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QRegularExpression>

#include <gtest/gtest.h>

using namespace panel;

namespace {

ParsedCommandLine parse(const QStringList& arguments) {
    return parseCommandLine(QStringList("velkor-panel") + arguments);
}

TEST(ParseCommandLine, noOptions_haveTheirDefaults) {
    const ParsedCommandLine parsed = parse({"probe"});
    ASSERT_EQ(plain(parsed.error), "");
    EXPECT_EQ(plain(parsed.options.command), "probe");
    EXPECT_EQ(parsed.options.link.wordsPerFrame, 256);
    EXPECT_EQ(parsed.options.link.retries, 3);
    EXPECT_EQ(parsed.options.link.timeoutMs, 500);
    EXPECT_EQ(parsed.options.link.scanMs, 200);
    EXPECT_TRUE(parsed.options.link.nodes.isEmpty());
    EXPECT_EQ(parsed.options.format, OutputFormat::Table);
}

TEST(ParseCommandLine, everyOption_isTaken) {
    const ParsedCommandLine parsed = parse({"--plc",
                                            "10.0.0.1:9601",
                                            "--nodes",
                                            "0,5,0,0,10,0",
                                            "--words-per-frame",
                                            "100",
                                            "--retries",
                                            "2",
                                            "--timeout",
                                            "250",
                                            "--scan-interval",
                                            "50",
                                            "--bind",
                                            "127.0.0.1:7000",
                                            "--library",
                                            "/x.so",
                                            "--trace",
                                            "--pcap",
                                            "f.pcap",
                                            "--format",
                                            "json",
                                            "--seconds",
                                            "1.5",
                                            "--until-stable",
                                            "--type",
                                            "hex",
                                            "--values",
                                            "v.csv",
                                            "watch",
                                            "DM:1"});
    ASSERT_EQ(plain(parsed.error), "");
    const Options& options = parsed.options;
    ASSERT_EQ(options.plcs.size(), 1);
    EXPECT_EQ(plain(options.plcs.first().host), "10.0.0.1:9601");
    EXPECT_EQ(plain(options.plcs.first().name), "");
    EXPECT_EQ(options.plcs.first().nodes, (QVector<int>{0, 5, 0, 0, 10, 0}));
    EXPECT_EQ(options.link.wordsPerFrame, 100);
    EXPECT_EQ(options.link.retries, 2);
    EXPECT_EQ(options.link.timeoutMs, 250);
    EXPECT_EQ(options.link.scanMs, 50);
    EXPECT_EQ(options.link.local.port, 7000);
    EXPECT_EQ(plain(options.library), "/x.so");
    EXPECT_TRUE(options.trace);
    EXPECT_EQ(plain(options.capture), "f.pcap");
    EXPECT_EQ(options.format, OutputFormat::Json);
    EXPECT_DOUBLE_EQ(options.seconds, 1.5);
    EXPECT_TRUE(options.untilStable);
    EXPECT_EQ(plain(options.type), "hex");
    EXPECT_EQ(plain(options.values), "v.csv");
    EXPECT_EQ(options.arguments, QStringList("DM:1"));
}

TEST(ParseCommandLine, negativeNumbers_areValues) {
    EXPECT_EQ(parse({"write", "DM", "1", "-5", "-1.5"}).options.arguments,
              QStringList({"DM", "1", "-5", "-1.5"}));
    EXPECT_EQ(parse({"layout", "DM", "100", "3", "-10"}).options.arguments.last(), "-10");
}

TEST(ParseCommandLine, noPlc_isTheDriversWithoutAName) {
    const Options options = parse({"probe"}).options;
    ASSERT_EQ(options.plcs.size(), 1);
    EXPECT_EQ(plain(options.plcs.first().host), "");
    EXPECT_EQ(plain(options.plcs.first().name), "");
}

TEST(ParseCommandLine, severalPlcs_haveNamesAndNodesOfTheirOwn) {
    const ParsedCommandLine parsed =
        parse({"--plc", "left=10.0.0.1", "--plc", "right=10.0.0.2:9601", "--nodes",
               "right=0,7,0,0,10,0", "watch", "left/DM:1"});
    ASSERT_EQ(plain(parsed.error), "");
    ASSERT_EQ(parsed.options.plcs.size(), 2);
    EXPECT_EQ(plain(parsed.options.plcs.at(0).name), "left");
    EXPECT_EQ(plain(parsed.options.plcs.at(1).host), "10.0.0.2:9601");
    EXPECT_TRUE(parsed.options.plcs.at(0).nodes.isEmpty());
    EXPECT_EQ(parsed.options.plcs.at(1).nodes, (QVector<int>{0, 7, 0, 0, 10, 0}));
}

TEST(ParseCommandLine, plcNameWithBlanksAndOtherLetters_isTaken) {
    const ParsedCommandLine parsed = parse({"--plc", u8"Tank 1 öst=10.0.0.1", "probe"});
    ASSERT_EQ(plain(parsed.error), "");
    EXPECT_EQ(plain(parsed.options.plcs.first().name), u8"Tank 1 öst");
}

TEST(ParseCommandLine, modeChange_isForbiddenUnlessAskedFor) {
    EXPECT_FALSE(parse({"write", "DM", "1", "5"}).options.link.allowModeChange);
    EXPECT_TRUE(
        parse({"--allow-mode-change", "write", "DM", "1", "5"}).options.link.allowModeChange);
}

struct Wrong {
    const char* name;
    QStringList arguments;
    const char* says;
};

class WrongCommandLine : public testing::TestWithParam<Wrong> {};

TEST_P(WrongCommandLine, saysWhatWouldBeRight) {
    const QString error = parse(GetParam().arguments).error;
    EXPECT_TRUE(error.contains(GetParam().says)) << plain(error);
}

const Wrong WRONG[] = {
    {"noCommand", {}, "no command given"},
    {"unknownCommand", {"reed"}, "\"reed\" is no command"},
    {"unknownOption", {"--bogus", "probe"}, "bogus"},
    {"tooFewArguments", {"read", "DM"}, "read REGISTER ADDRESS [COUNT]"},
    {"tooManyArguments", {"probe", "x"}, "probe"},
    {"recipeWithoutFile", {"recipe", "upload"}, "RECIPE.csv"},
    {"wordsPerFrameZero", {"--words-per-frame", "0", "probe"}, "from 1 to 503"},
    {"wordsPerFrameLarge", {"--words-per-frame", "504", "probe"}, "from 1 to 503"},
    {"retries", {"--retries", "x", "probe"}, "from 1 to 100"},
    {"modeChangeWithOneTry",
     {"--retries", "1", "--allow-mode-change", "probe"},
     "right is --retries 2 or more"},
    {"timeout", {"--timeout", "-5", "probe"}, "from 1 to 60000"},
    {"scanInterval", {"--scan-interval", "5", "probe"}, "from 10 to 60000"},
    {"nodesTooFew", {"--nodes", "0,1,0", "probe"}, "SA2; given are 3"},
    {"nodesTooLarge", {"--nodes", "0,256,0,0,1,0", "probe"}, "six numbers from 0 to 255"},
    {"bind", {"--bind", "nowhere:1", "probe"}, "IPv4 address"},
    {"bindShortened", {"--bind", "127.1:1", "probe"}, "IPv4 address"},
    {"plcTwice", {"--plc", "a=10.0.0.1", "--plc", "a=10.0.0.2", "watch", "a/DM:1"}, "of its own"},
    {"plcWithoutName",
     {"--plc", "a=10.0.0.1", "--plc", "10.0.0.2", "watch", "a/DM:1"},
     "a name for each PLC"},
    {"plcEmptyName", {"--plc", "=10.0.0.1", "probe"}, "NAME=HOST[:PORT]"},
    {"plcNameOverTwoLines",
     {"--plc", "a\nb=10.0.0.1", "probe"},
     "--plc \"a\\x0Ab=10.0.0.1\": right is a NAME on one line"},
    {"plcNameWithATab", {"--plc", "a\tb=10.0.0.1", "probe"}, "without tabs"},
    {"plcNameWithAnEscape", {"--plc", "a\x1b[2Jb=10.0.0.1", "probe"}, "a NAME on one line"},
    {"plcNameWithASlash",
     {"--plc", "a/b=10.0.0.1", "watch", "a/b/DM:0"},
     "without \"/\", which stands between it and its tag: left/DM:0"},
    {"severalPlcsForOneRead",
     {"--plc", "a=10.0.0.1", "--plc", "b=10.0.0.2", "read", "DM", "1"},
     "take several"},
    {"onePortForSeveralPlcs",
     {"--plc", "a=10.0.0.1", "--plc", "b=10.0.0.2", "--bind", "10.0.0.9:9600", "watch", "a/DM:1"},
     "port 0 with several"},
    {"nodesOfNoPlc", {"--nodes", "x=0,1,0,0,1,0", "probe"}, "the name of a --plc"},
    {"seconds", {"--seconds", "0", "probe"}, "above 0"},
    {"format", {"--format", "xml", "probe"}, "table, csv or json"},
    {"type", {"--type", "double", "probe"}, "one of bool, uint16"},
    {"emptyPlc", {"--plc", "", "probe"}, "--plc \"\": right is a value"},
    {"emptyNodes", {"--nodes", "", "probe"}, "--nodes \"\": right is a value"},
    {"emptySeconds", {"--seconds", "", "watch", "DM:1"}, "--seconds \"\": right is a value"},
    {"emptyCapture", {"--pcap", "", "probe"}, "--pcap \"\": right is a value"},
};

INSTANTIATE_TEST_SUITE_P(Panel, WrongCommandLine, testing::ValuesIn(WRONG),
                         [](const auto& row) { return std::string(row.param.name); });

/// The sentence in the help that names a default is text; it has to be what holds.
TEST(ParseCommandLine, help_namesTheDefaultsThatHoldAndEveryType) {
    int argc = 1;
    char name[] = "velkor-panel";
    char* argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv);
    const QString help = parse({"--help"}).text.simplified();
    const LineSettings standard;
    const struct {
        const char* option;
        int value;
    } defaults[] = {{"--words-per-frame <N>", standard.wordsPerFrame},
                    {"--retries <N>", standard.retries},
                    {"--timeout <MS>", standard.timeoutMs},
                    {"--scan-interval <MS>", standard.scanMs}};
    for (const auto& row : defaults) {
        const QString text = help.section(row.option, 1).section(" --", 0, 0);
        EXPECT_TRUE(text.contains(QRegularExpression(QString("Default %1\\b").arg(row.value))))
            << row.option << ": " << text.toStdString();
    }
    EXPECT_TRUE(help.contains(valueTypeNames())) << help.toStdString();
}

TEST(ParseCommandLine, help_namesEveryCommandAndOption) {
    int argc = 1;
    char name[] = "velkor-panel";
    char* argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv); // whose name stands in the help
    const QString help = parse({"--help"}).text;
    for (const char* part : {"registers",
                             "check",
                             "layout",
                             "read",
                             "write",
                             "watch",
                             "recipe download",
                             "recipe upload",
                             "probe",
                             "--plc",
                             "--nodes",
                             "--words-per-frame",
                             "--retries",
                             "--timeout",
                             "--scan-interval",
                             "--bind",
                             "--library",
                             "--trace",
                             "--pcap",
                             "--format",
                             "--seconds",
                             "--until-stable",
                             "--type",
                             "--values",
                             "--allow-mode-change",
                             "--force",
                             "--verify",
                             "Exit codes"}) {
        EXPECT_TRUE(help.contains(part)) << part;
    }
}

/// The manual is text: its numbers are written by hand.
TEST(ParseCommandLine, help_namesTheRangesOfTheLine) {
    int argc = 1;
    char name[] = "velkor-panel";
    char* argv[] = {name, nullptr};
    const QCoreApplication application(argc, argv); // whose name stands in the help
    const QString help = parse({"--help"}).text.simplified();
    const struct {
        const char* form;
        SettingRange range;
    } rows[] = {{"Longest block, %1 to %2 words.", LineSettings::WORDS_PER_FRAME},
                {"before its request fails, %1 to %2;", LineSettings::RETRIES},
                {"Wait for a reply, %1 to %2 ms.", LineSettings::TIMEOUT_MS},
                {"time from scan to scan, %1 to %2 ms.", LineSettings::SCAN_MS}};
    for (const auto& row : rows) {
        EXPECT_TRUE(help.contains(
            QString::fromLatin1(row.form).arg(row.range.lowest).arg(row.range.highest)))
            << row.form;
    }
}

TEST(EndpointFromText, whatEndpointTextMakes_isTaken) {
    for (const char* text : {"192.168.250.1:9600", "0.0.0.0:0", "255.255.255.255:65535"}) {
        Endpoint endpoint;
        EXPECT_EQ(plain(endpointFromText(text, &endpoint)), "") << text;
        EXPECT_EQ(plain(endpointText(endpoint)), text);
    }
}

TEST(EndpointFromText, partThatIsMissing_staysAsItWas) {
    Endpoint endpoint{QHostAddress("10.0.0.1"), 9600};
    EXPECT_EQ(plain(endpointFromText("10.0.0.2", &endpoint)), "");
    EXPECT_EQ(plain(endpointText(endpoint)), "10.0.0.2:9600");
    EXPECT_EQ(plain(endpointFromText(":9601", &endpoint)), "");
    EXPECT_EQ(plain(endpointText(endpoint)), "10.0.0.2:9601");
}

TEST(EndpointFromText, anythingElse_isNamedAndChangesNothing) {
    for (const char* text :
         {"", ":", "10.0.0.1:", "10.0.0.1:65536", "10.0.0.1:-1", "10.0.0.1:+1", "10.0.0.1: 1",
          "10.0.0.1:96oo", "10.0.0.1:9600:1", "10.0.0.256:1", "10.0.0:1", "127.1", "010.0.0.1:1",
          "::1", "[::1]:9600", "plc:9600", " 10.0.0.1:1", "10.0.0.1:09600", "4294967297.0.0.1:1"}) {
        Endpoint endpoint{QHostAddress("10.0.0.1"), 9600};
        const QString fault = endpointFromText(text, &endpoint);
        EXPECT_TRUE(fault.startsWith(QString("\"%1\" is no address and port; right is").arg(text)))
            << text << plain(fault);
        EXPECT_EQ(plain(endpointText(endpoint)), "10.0.0.1:9600") << text;
    }
}

TEST(SplitHostPort, partsThatAreMissing_stayAsTheyWere) {
    QString host = "h";
    quint16 port = 9600;
    EXPECT_TRUE(splitHostPort("10.0.0.1", &host, &port));
    EXPECT_EQ(plain(host), "10.0.0.1");
    EXPECT_EQ(port, 9600);
    EXPECT_TRUE(splitHostPort(":9601", &host, &port));
    EXPECT_EQ(plain(host), "10.0.0.1");
    EXPECT_EQ(port, 9601);
    EXPECT_FALSE(splitHostPort("a:b", &host, &port));
    EXPECT_FALSE(splitHostPort("a:65536", &host, &port));
}

} // namespace
