#pragma once
// A client of the automation object on a private bus, over a program folder with the generated
// sky's database: calls as a script makes them, the signals it hears, and waits that pump events.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "tests/servicio/private_bus.h"
#include "tests/support/generated_sky.h"

namespace tornel::testing {

inline constexpr char kService[] = "org.tornel.ImageSolver";
inline constexpr char kPath[] = "/org/tornel/ImageSolver";
inline constexpr char kInterface[] = "org.tornel.ImageSolver1";
inline constexpr char kProperties[] = "org.freedesktop.DBus.Properties";

class SignalLog : public QObject {
    Q_OBJECT
  public slots:
    void JobDone() { ++jobsDone; }
    void SpentTime(int completed) { spent.push_back(completed); }
    void PropertiesChanged(const QString&, const QVariantMap&, const QStringList& names) { changed << names; }

  public:
    int jobsDone = 0;
    std::vector<int> spent;
    QStringList changed;
};

// Pumps events until `done` or the limit; answers `done()`.
template <class F>
bool WaitUntil(F&& done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

class BusTest : public GeneratedSkyTest {
  protected:
    void SetUp() override {
        GeneratedSkyTest::SetUp();
        Parameters(0, false);
        bus = std::make_unique<PrivateBus>(TORNEL_BUS_CONFIG, home.Path());
        ASSERT_FALSE(bus->Address().empty()) << "dbus-daemon did not start";
        Connect();
    }
    void TearDown() override {
        const uint pid = ServicePid();
        Disconnect();
        // The program sees its bus go and ends.
        bus.reset();
        if (pid) {
            EXPECT_TRUE(WaitUntil([&] { return ProcessEnded(pid); }, std::chrono::seconds(10)));
        }
    }

    void Connect() {
        client.emplace(bus->Connect("client"));
        ASSERT_TRUE(client->isConnected());
        client->connect("", kPath, kInterface, "JobDone", &log, SLOT(JobDone()));
        client->connect("", kPath, kInterface, "SpentTime", &log, SLOT(SpentTime(int)));
        client->connect("", kPath, kProperties, "PropertiesChanged", &log,
                        SLOT(PropertiesChanged(QString, QVariantMap, QStringList)));
    }
    void Disconnect() {
        client.reset();
        QDBusConnection::disconnectFromBus("client");
    }
    // The process that owns the name, or 0.
    uint ServicePid() {
        if (!client) return 0;
        auto owner = client->interface()->servicePid(kService);
        return owner.isValid() ? owner.value() : 0;
    }

    QDBusMessage Call(const char* iface, const char* member, const QVariantList& args = {},
                      int timeoutMs = 25000) {
        QDBusMessage m = QDBusMessage::createMethodCall(kService, kPath, iface, member);
        m.setArguments(args);
        return client->call(m, QDBus::Block, timeoutMs);
    }
    QDBusMessage Method(const char* member, int timeoutMs = 25000) {
        return Call(kInterface, member, {}, timeoutMs);
    }
    QDBusMessage Get(const char* name) { return Call(kProperties, "Get", {kInterface, name}); }
    QDBusMessage Set(const char* name, const QVariant& value) {
        return Call(kProperties, "Set", {kInterface, name, QVariant::fromValue(QDBusVariant(value))});
    }
    // The value of a property that reads without a refusal.
    QVariant Value(const char* name) {
        QDBusMessage m = Get(name);
        EXPECT_EQ(m.type(), QDBusMessage::ReplyMessage) << name << ": " << m.errorMessage().toStdString();
        return m.arguments().isEmpty() ? QVariant() : qvariant_cast<QDBusVariant>(m.arguments()[0]).variant();
    }
    // A call answered with the object's refusal `numero` and `texto`.
    static void ExpectRefused(const QDBusMessage& m, int numero, const std::string& texto) {
        EXPECT_EQ(m.type(), QDBusMessage::ErrorMessage) << texto;
        EXPECT_EQ(m.errorName().toStdString(), "org.tornel.ImageSolver1.Error") << texto;
        EXPECT_EQ(m.errorMessage().toStdString(), " Error " + std::to_string(numero) + ": " + texto);
    }
    static void ExpectAnswered(const QDBusMessage& m) {
        EXPECT_EQ(m.type(), QDBusMessage::ReplyMessage) << m.errorMessage().toStdString();
    }

    std::unique_ptr<PrivateBus> bus;
    std::optional<QDBusConnection> client;
    SignalLog log;
};

}  // namespace tornel::testing
