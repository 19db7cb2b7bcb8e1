#include "tools/scenario_host.h"

#include <QtGlobal>

#include <cstdio>

namespace scenario {

std::optional<QByteArray> askHost(const QByteArray& question)
{
    if (!qEnvironmentVariableIsSet("PRESVA_SCENARIO_HOST")) return std::nullopt;
    std::printf("host: %s\n", question.constData());
    std::fflush(stdout);
    QByteArray answer;
    for (int letter = std::getchar(); letter != EOF && letter != '\n'; letter = std::getchar())
        answer += static_cast<char>(letter);
    return answer.trimmed();
}

} // namespace scenario
