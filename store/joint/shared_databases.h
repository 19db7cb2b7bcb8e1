#pragma once

#include "store/joint/shared_engine.h"

#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace shared {

/// Opens databases as another one does; a file of a shared register gets the engine that notes its changes down, also
/// where no server is named any more: what is changed meanwhile would be missing there for ever. A file of which it
/// cannot be read whether it is in a register is not opened.
class SharedDatabases : public store::Databases {
public:
    explicit SharedDatabases(store::Databases& files) : files_(files) {}
    std::shared_ptr<store::Engine> open(const QString& path) override;
    /// Runs whenever a file of a shared register was opened.
    void onOpened(std::function<void()> told) { told_ = std::move(told); }
    /// The engine of that file while somebody has it open; nothing for a file of no shared register.
    std::shared_ptr<SharedEngine> sharedEngine(const QString& path) const;

private:
    store::Databases& files_;
    std::function<void()> told_;
    std::map<QString, std::weak_ptr<SharedEngine>> open_;
};

} // namespace shared
