#pragma once
// The automation object on the session bus. It is a QDBusVirtualObject, so that it sees every call
// on its path as a message and answers it itself: Properties.Set then reaches the object's range
// tests with the caller known, and a refusal goes back as the object's own error. (Properties of a
// QObject exported by QtDBus are set with no caller context and could only be refused silently;
// sd-bus would allow it too, but the window already runs Qt's event loop, which this shares.)
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QHash>
#include <QSet>
#include <QTimer>
#include <functional>

#include "comun/context.h"

namespace tornel {

inline constexpr char kSolverService[] = "org.tornel.ImageSolver";
inline constexpr char kSolverPath[] = "/org/tornel/ImageSolver";
inline constexpr char kSolverInterface[] = "org.tornel.ImageSolver1";
inline constexpr char kSolverError[] = "org.tornel.ImageSolver1.Error";

class SolverObject : public QDBusVirtualObject {
    Q_OBJECT
  public:
    SolverObject(Context& c, const QDBusConnection& bus, QObject* parent = nullptr);
    ~SolverObject() override;

    // Registers the object, then claims the bus name; false when another program owns the name
    // (it serves the clients) or the bus refused.
    bool Publish();
    // Called when a program that a client started has lost its last client and no analysis runs.
    void SetOnLastClientGone(std::function<void()> onGone) { onLastClientGone_ = std::move(onGone); }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

  private:
    void HandleProperties(const QDBusMessage& message);
    void HandleMethod(const QDBusMessage& message);
    // Runs `member` and answers the caller: an empty reply or the object's error.
    void CallAndReply(const QDBusMessage& message, void (*member)(Context&));
    void Reply(const QDBusMessage& reply);
    void NoteClient(const QString& name);
    void ClientGone(const QString& name);
    void CheckLife();
    // PropertiesChanged with the names of the properties whose values differ from the last look.
    void NotifyChanges();
    QHash<QString, QString> Snapshot();
    void Emit(const char* signal, const QVariantList& arguments = {});

    Context& c_;
    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
    QSet<QString> clients_;
    QTimer lifeTimer_;
    QHash<QString, QString> lastSeen_;
    std::function<void()> onLastClientGone_;
    bool published_ = false;
};

}  // namespace tornel
