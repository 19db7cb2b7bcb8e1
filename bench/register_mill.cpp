#include "bench/register_mill.h"

#include "platform/system_disk.h"
#include "store/postgres/join.h"
#include "store/postgres/server_settings.h"

#include <QElapsedTimer>
#include <cstdio>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int serversPort = 5432;
constexpr int linesPort = 5450;
constexpr std::chrono::milliseconds delay{2};
constexpr jet::DateTime made{45000};

std::filesystem::path pathOf(const QString& folder) { return folder.toStdU16String(); }

template <class Work> void timed(const char* what, const Work& work)
{
    QElapsedTimer time;
    time.start();
    const postgres::Carried done = work();
    std::printf("%s: %llu customers and %llu pressings in %.1f s\n", what,
                static_cast<unsigned long long>(done.customers), static_cast<unsigned long long>(done.pressings),
                static_cast<double>(time.elapsed()) / 1000);
    std::fflush(stdout);
}

} // namespace

RegisterMill::RegisterMill(QString measured, QString other) : measured_(std::move(measured)), other_(std::move(other))
{
    files::Disk& disk = platform::systemDisk();
    qputenv("PGPASSWORD", "sahip");
    writeIni(measured_, 1, serversPort);
    writeIni(other_, 2, serversPort);
    timed("into the register, each row compared", [&] {
        return postgres::joinRegister(disk, postgres::readServerSettings(disk, pathOf(measured_)),
                                      pathOf(measured_) / "Yag.mdb", {.user = "sahip"}, made, {});
    });
    timed("from there into a new file, each row compared", [&] {
        return postgres::fromServer(disk, postgres::readServerSettings(disk, pathOf(other_)),
                                    pathOf(other_) / "Yag.mdb", "sahip", made, {});
    });
    qputenv("PGPASSWORD", "hat1");
    line_ = std::make_unique<DelayingProxy>(server_.folder(), linesPort, serversPort, delay);
    writeIni(measured_, 1, linesPort);
}

RegisterMill::~RegisterMill()
{
    process_.kill();
    process_.waitForFinished();
}

void RegisterMill::writeIni(const QString& folder, int counter, int port) const
{
    writeFile((folder + u"/Sunucu.ini"_s).toStdString(),
              "[Sunucu]\nAdres=" + server_.folder().string() + "\nPort=" + std::to_string(port) + "\nVeritabani=" +
                  database_ + "\nKullanici=hat1\nSayac=Hat " + std::to_string(counter) + "\nDefter=Değirmen\n");
}

bool RegisterMill::startOther(int pause)
{
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(QString::fromUtf8(OTHER_COUNTER), {other_, QString::number(pause)});
    return process_.waitForStarted() && process_.waitForReadyRead(120'000);
}

int RegisterMill::pressingsOf(const QString& customer) const
{
    return std::stoi(
        server_.sql("select count(*) from presva.hareket where carihar = '" + customer.toStdString() + "'", database_));
}

int RegisterMill::lines() const { return std::stoi(server_.sql("select max(sira) from presva.gecmis", database_)); }
