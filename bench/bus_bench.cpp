// The automation object's answers over a private session bus: activation to the first answer (a
// fresh bus and a fresh tornel-cli each round, started by the call), then property reads and
// writes of the running program, against a bare round trip to it (Peer.Ping). Prints medians.
// Usage: tornel-bus-bench [HOME [ROUNDS]]; HOME is the program folder (by default the sample's,
// build/sample/home, made by scripts/solve-sample.sh, on the default database).
#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tests/servicio/private_bus.h"

namespace {

using Clock = std::chrono::steady_clock;

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}

double Percentile(std::vector<double> v, double p) {
    std::sort(v.begin(), v.end());
    return v[static_cast<size_t>(p * static_cast<double>(v.size() - 1))];
}

// Milliseconds that each of `rounds` calls takes; false when one was refused.
bool Time(int rounds, const std::function<QDBusMessage()>& call, std::vector<double>& ms) {
    for (int k = 0; k < rounds; ++k) {
        auto start = Clock::now();
        QDBusMessage answer = call();
        ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        if (answer.type() != QDBusMessage::ReplyMessage) {
            std::fprintf(stderr, "refused: %s\n", qPrintable(answer.errorMessage()));
            return false;
        }
    }
    return true;
}

QDBusMessage Request(const char* iface, const char* member, const QVariantList& args = {}) {
    QDBusMessage m =
        QDBusMessage::createMethodCall("org.tornel.ImageSolver", "/org/tornel/ImageSolver", iface, member);
    m.setArguments(args);
    return m;
}

void Report(const char* what, const std::vector<double>& ms) {
    std::printf("%-44s median %8.3f ms   p90 %8.3f ms   (%zu calls)\n", what, Median(ms), Percentile(ms, 0.9),
                ms.size());
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const std::string home = argc > 1 ? argv[1] : std::string(TORNEL_BINARY_DIR) + "/sample/home/";
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 15;
    const QVariantList busy{"org.tornel.ImageSolver1", "Busy"};

    std::vector<double> activation;
    uint previous = 0;
    for (int k = 0; k < rounds; ++k) {
        // Each round's program must find the program folder free: the last one ends with its bus.
        while (previous && !tornel::testing::ProcessEnded(previous))
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        tornel::testing::PrivateBus bus(TORNEL_BUS_CONFIG, home);
        {
            QDBusConnection client = bus.Connect("bench");
            if (!Time(
                    1, [&] { return client.call(Request("org.freedesktop.DBus.Properties", "Get", busy)); },
                    activation))
                return 1;
            previous = client.interface()->servicePid("org.tornel.ImageSolver").value();
        }
        QDBusConnection::disconnectFromBus("bench");
    }
    while (previous && !tornel::testing::ProcessEnded(previous))
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    Report("activation to the first answer (Busy)", activation);

    tornel::testing::PrivateBus bus(TORNEL_BUS_CONFIG, home);
    QDBusConnection client = bus.Connect("bench");
    std::vector<double> ping, read, readResult, write, getAll;
    const int calls = 2000;
    bool ok = Time(
        1, [&] { return client.call(Request("org.freedesktop.DBus.Properties", "Get", busy)); }, ping);
    ping.clear();
    ok = ok && Time(
                   calls, [&] { return client.call(Request("org.freedesktop.DBus.Peer", "Ping")); }, ping);
    ok =
        ok && Time(
                  calls, [&] { return client.call(Request("org.freedesktop.DBus.Properties", "Get", busy)); },
                  read);
    ok = ok && Time(
                   calls,
                   [&] {
                       return client.call(Request("org.freedesktop.DBus.Properties", "Get",
                                                  {"org.tornel.ImageSolver1", "Solved"}));
                   },
                   readResult);
    ok =
        ok && Time(
                  calls,
                  [&] {
                      return client.call(Request(
                          "org.freedesktop.DBus.Properties", "Set",
                          {"org.tornel.ImageSolver1", "ImageAngle",
                           QVariant::fromValue(QDBusVariant(12.5 + static_cast<double>(write.size() % 2)))}));
                  },
                  write);
    ok = ok && Time(
                   calls / 4,
                   [&] {
                       return client.call(
                           Request("org.freedesktop.DBus.Properties", "GetAll", {"org.tornel.ImageSolver1"}));
                   },
                   getAll);
    if (!ok) return 1;
    Report("bare round trip (Peer.Ping, answered by Qt)", ping);
    Report("property read (Get Busy)", read);
    Report("result read (Get Solved)", readResult);
    Report("property write (Set ImageAngle)", write);
    Report("every property (GetAll)", getAll);
    std::printf("property read / bare round trip: %.2f; property read / 1 ms target: %.3f\n",
                Median(read) / Median(ping), Median(read) / 1.0);
    QDBusConnection::disconnectFromBus("bench");
    return 0;
}
