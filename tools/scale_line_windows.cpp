#include "tools/scale_line.h"

#include "tools/scenario_host.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace scenario {

struct ScaleLine::Cable {
    Cable() = default;
    ~Cable() { askHost("unplug"); }
    Cable(const Cable&) = delete;
    Cable& operator=(const Cable&) = delete;
};

ScaleLine::ScaleLine(const QString& directory)
{
    if (QFileInfo::exists(directory + u"/com1"_s)) return;
    link_ = u"COM1"_s;
    plug();
}

ScaleLine::~ScaleLine() = default;

bool ScaleLine::plug()
{
    if (link_.isEmpty() || askHost("plug") != "laid") return false;
    // The host has laid the new line in the place of the one before.
    if (!cable_) cable_ = std::make_unique<Cable>();
    return true;
}

void ScaleLine::unplug() { cable_.reset(); }

void ScaleLine::send(const QByteArray& bytes) { askHost("send " + bytes.toHex()); }

} // namespace scenario
