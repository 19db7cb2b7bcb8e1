#pragma once

#include "store/engine.h"

#include <map>

namespace files {
class Disk;
}

namespace store {

/// Databases of Access 2000 format through the program's own engine.
class JetDatabases : public Databases {
public:
    explicit JetDatabases(files::Disk& disk) : disk_(disk) {}
    std::shared_ptr<Engine> open(const QString& path) override;

private:
    files::Disk& disk_;
    std::map<QString, std::weak_ptr<Engine>> open_;
};

} // namespace store
