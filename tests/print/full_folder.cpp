#include "tests/print/printed_documents.h"
#include "tests/support/outcome.h"

#include "print/folder_target.h"
#include <QDir>
#include <csignal>
#include <sys/resource.h>

class FullFolder : public QObject {
    Q_OBJECT

private slots:
    void aFullDiskLeavesNoHalfFile()
    {
        const QTemporaryDir folder;
        print::FolderTarget target(folder.path());
        print::Printer printer(target);
        printer.print("a");
        print::Document slip = *printer.takeDoc();
        slip.pdf = QByteArray(100000, 'x');
        // Writing past the limit fails as on a full disk; its signal would end the process.
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit small{50000, before.rlim_max};
        std::signal(SIGXFSZ, SIG_IGN);
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const int error = errorOf([&] { target.submit(slip); });
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
        QCOMPARE(error, base::errors::printer);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
    }
};

PRINT_TEST_MAIN(FullFolder)
#include "full_folder.moc"
