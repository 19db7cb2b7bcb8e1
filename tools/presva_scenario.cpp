// Plays scenario files on the real screen. See docs/scenario.md.

#include "app/theme.h"
#include "tools/scenario_player.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>

#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    app::applyTheme(application);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Senaryo dosyalarını gerçek ekranda oynatır."_s);
    parser.addHelpOption();
    parser.addPositionalArgument(u"FILE"_s, u"senaryo dosyaları"_s, u"FILE..."_s);
    const QCommandLineOption dir(u"dir"_s, u"Yag.mdb'nin klasörü"_s, u"DIR"_s);
    const QCommandLineOption printTo(u"print-to"_s, u"fişler bu klasöre PDF olarak yazılır"_s, u"DIR"_s);
    const QCommandLineOption shots(u"shots"_s, u"ekran resimlerinin klasörü"_s, u"DIR"_s);
    const QCommandLineOption now(u"now"_s, u"saatin başlangıcı"_s, u"\"yyyy-MM-dd HH:mm:ss\""_s);
    const QCommandLineOption echo(u"echo"_s, u"yapılan her komut yazılır"_s);
    parser.addOptions({dir, printTo, shots, now, echo});
    parser.process(application);

    if (parser.positionalArguments().isEmpty() || !parser.isSet(dir)) {
        std::fprintf(stderr,
                     "presva-scenario FILE... --dir DIR [--print-to DIR] [--shots DIR] [--now \"...\"] [--echo]\n");
        return 1;
    }

    scenario::PlayerOptions options;
    options.directory = QDir(parser.value(dir)).absolutePath();
    options.printTo = parser.value(printTo);
    options.shots = parser.value(shots);
    options.echo = parser.isSet(echo);
    if (parser.isSet(now)) {
        options.now = QDateTime::fromString(parser.value(now), u"yyyy-MM-dd HH:mm:ss"_s);
        if (!options.now.isValid()) {
            std::fprintf(stderr, "--now: '%s' is not a time like 2025-11-20 14:05:00\n", qPrintable(parser.value(now)));
            return 1;
        }
    }

    std::vector<scenario::Command> commands;
    for (const QString& name : parser.positionalArguments()) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "%s: %s\n", qPrintable(name), qPrintable(file.errorString()));
            return 1;
        }
        try {
            for (scenario::Command& command : scenario::parse(QString::fromUtf8(file.readAll()), name))
                commands.push_back(std::move(command));
        } catch (const scenario::ScriptError& error) {
            std::fprintf(stderr, "%s\n", qPrintable(error.sentence));
            return 1;
        }
    }
    scenario::Player player(options);
    return player.play(std::move(commands)) ? 0 : 1;
}
