#include "servicio/solver_object.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>

#include "automatizacion/image_solver.h"
#include "servicio/interface_xml.h"
#include "servicio/solver_values.h"

namespace tornel {

namespace {

constexpr char kPropertiesInterface[] = "org.freedesktop.DBus.Properties";
// A program started by activation waits this long for its first call, and ends this long after
// its last client left, so that a shell script's separate calls find the values it set.
constexpr int kFirstClientWaitMs = 10000;
constexpr int kLastClientGraceMs = 2000;

QDBusMessage Refusal(const QDBusMessage& call, const SolverFault& fault) {
    return call.createErrorReply(kSolverError, Q(fault.descripcion));
}

}  // namespace

SolverObject::SolverObject(Context& c, const QDBusConnection& bus, QObject* parent)
    : QDBusVirtualObject(parent), c_(c), bus_(bus) {
    watcher_.setConnection(bus_);
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, &SolverObject::ClientGone);
    lifeTimer_.setSingleShot(true);
    connect(&lifeTimer_, &QTimer::timeout, this, &SolverObject::CheckLife);
    c_.events.AvisoTiempo = [this](int32_t seconds) {
        Emit("SpentTime", {seconds});
        NotifyChanges();
    };
    c_.events.AvisoTerminado = [this] {
        Emit("JobDone");
        NotifyChanges();
        // A last client that left during the analysis: the end waited for it.
        if (!c_.gAnalizando && !c_.gIniciadoPorUsuario && c_.gConexiones < 1)
            lifeTimer_.start(kLastClientGraceMs);
    };
}

SolverObject::~SolverObject() {
    c_.events = {};
    if (!published_) return;
    bus_.unregisterService(kSolverService);
    bus_.unregisterObject(kSolverPath);
}

bool SolverObject::Publish() {
    if (!bus_.isConnected()) return false;
    if (!bus_.registerVirtualObject(kSolverPath, this)) return false;
    auto claimed =
        bus_.interface()->registerService(kSolverService, QDBusConnectionInterface::DontQueueService,
                                          QDBusConnectionInterface::DontAllowReplacement);
    if (!claimed.isValid() || claimed.value() != QDBusConnectionInterface::ServiceRegistered) {
        bus_.unregisterObject(kSolverPath);
        return false;
    }
    published_ = true;
    lastSeen_ = Snapshot();
    if (!c_.gIniciadoPorUsuario) lifeTimer_.start(kFirstClientWaitMs);
    return true;
}

QString SolverObject::introspect(const QString&) const {
    QString xml = QString::fromUtf8(kSolverInterfaceXml);
    qsizetype from = xml.indexOf("<interface"), to = xml.lastIndexOf("</interface>");
    return xml.mid(from, to + qsizetype(sizeof("</interface>") - 1) - from) + "\n";
}

bool SolverObject::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    const QString iface = message.interface();
    // Qt answers these from introspect(); they make no client.
    if (iface == "org.freedesktop.DBus.Introspectable" || iface == "org.freedesktop.DBus.Peer") return false;
    if (message.type() != QDBusMessage::MethodCallMessage) return false;
    NoteClient(message.service());
    if (iface == kPropertiesInterface)
        HandleProperties(message);
    else if (iface.isEmpty() || iface == kSolverInterface)
        HandleMethod(message);
    else
        Reply(message.createErrorReply(QDBusError::UnknownInterface, "No interface " + iface));
    return true;
}

void SolverObject::HandleProperties(const QDBusMessage& m) {
    const QVariantList args = m.arguments();
    const QString member = m.member();
    if (args.isEmpty() || args[0].metaType().id() != QMetaType::QString)
        return Reply(m.createErrorReply(QDBusError::InvalidArgs, "The first argument is the interface"));
    const QString iface = args[0].toString();
    const bool ours = iface.isEmpty() || iface == kSolverInterface;
    if (member == "GetAll" && args.size() == 1) {
        // Results that cannot be read now (while analysing, of an unsolved image) are left out.
        QVariantMap all;
        for (const auto& p : ours ? SolverProperties() : std::span<const SolverProperty>{}) {
            try {
                all.insert(p.name, ToBusValue(ReadSolverProperty(c_, p)));
            } catch (const SolverFault&) {
            }
        }
        return Reply(m.createReply(QVariant::fromValue(all)));
    }
    if (!ours) return Reply(m.createErrorReply(QDBusError::UnknownInterface, "No interface " + iface));
    const SolverProperty* p =
        args.size() >= 2 ? FindSolverProperty(args[1].toString().toStdString()) : nullptr;
    if (!p) return Reply(m.createErrorReply(QDBusError::UnknownProperty, "No such property"));
    try {
        if (member == "Get" && args.size() == 2)
            return Reply(
                m.createReply(QVariant::fromValue(QDBusVariant(ToBusValue(ReadSolverProperty(c_, *p))))));
        if (member != "Set" || args.size() != 3)
            return Reply(m.createErrorReply(QDBusError::UnknownMethod, "No method " + member));
        if (!p->set)
            return Reply(m.createErrorReply(QDBusError::PropertyReadOnly, Q(p->name) + " is read-only"));
        auto value = FromBusValue(qvariant_cast<QDBusVariant>(args[2]).variant(), p->type);
        if (!value)
            return Reply(m.createErrorReply(QDBusError::InvalidArgs,
                                            Q(p->name) + " takes the type " + BusSignature(p->type)));
        WriteSolverProperty(c_, *p, *value);
        Reply(m.createReply());
        NotifyChanges();
    } catch (const SolverFault& fault) {
        Reply(Refusal(m, fault));
    }
}

void SolverObject::HandleMethod(const QDBusMessage& m) {
    const QString member = m.member();
    void (*run)(Context&) = nullptr;
    bool deferred = false;  // it runs an event loop: answered from the program's own loop
    if (member == "StopAnalyzing")
        run = StopAnalyzing;
    else if (member == "LaunchAnalysis")
        run = LaunchAnalysis;
    else if (member == "FineAdjustAngle")
        run = FineAdjustAngle;
    else if (member == "Analyze" || member == "SetupDialog") {
        run = member == "Analyze" ? Analyze : SetupDialog;
        deferred = true;
    }
    if (!run) return Reply(m.createErrorReply(QDBusError::UnknownMethod, "No method " + member));
    if (!m.arguments().isEmpty())
        return Reply(m.createErrorReply(QDBusError::InvalidArgs, member + " takes no arguments"));
    // A call that runs the analysis or a dialog must not hold the bus's dispatch while it runs, or
    // no other call (Busy, StopAnalyzing) could come in: it returns here and runs next.
    if (deferred)
        QTimer::singleShot(0, this, [this, m, run] { CallAndReply(m, run); });
    else
        CallAndReply(m, run);
}

void SolverObject::CallAndReply(const QDBusMessage& message, void (*member)(Context&)) {
    try {
        member(c_);
        Reply(message.createReply());
    } catch (const SolverFault& fault) {
        Reply(Refusal(message, fault));
    }
    NotifyChanges();
}

void SolverObject::Reply(const QDBusMessage& reply) {
    bus_.send(reply);
}

void SolverObject::NoteClient(const QString& name) {
    if (name.isEmpty() || clients_.contains(name)) return;
    clients_.insert(name);
    watcher_.addWatchedService(name);
    SolverClientArrived(c_);
    lifeTimer_.stop();
}

void SolverObject::ClientGone(const QString& name) {
    if (!clients_.remove(name)) return;
    watcher_.removeWatchedService(name);
    if (SolverClientLeft(c_)) lifeTimer_.start(kLastClientGraceMs);
    NotifyChanges();
}

void SolverObject::CheckLife() {
    if (c_.gIniciadoPorUsuario || c_.gConexiones > 0) return;
    // Nobody waits for this analysis any more: it stops, and its end looks again.
    if (c_.gAnalizando) {
        c_.gDetenerAnalisis = true;
        return;
    }
    if (onLastClientGone_) onLastClientGone_();
}

QHash<QString, QString> SolverObject::Snapshot() {
    QHash<QString, QString> seen;
    for (const auto& p : SolverProperties()) {
        try {
            seen.insert(p.name, ToBusValue(ReadSolverProperty(c_, p)).toString());
        } catch (const SolverFault& fault) {
            seen.insert(p.name, "error " + QString::number(fault.numero));
        }
    }
    return seen;
}

void SolverObject::NotifyChanges() {
    if (!published_) return;
    QHash<QString, QString> now = Snapshot();
    QStringList changed;
    for (auto it = now.cbegin(); it != now.cend(); ++it)
        if (lastSeen_.value(it.key()) != it.value()) changed << it.key();
    lastSeen_ = std::move(now);
    if (changed.isEmpty()) return;
    changed.sort();
    QDBusMessage signal = QDBusMessage::createSignal(kSolverPath, kPropertiesInterface, "PropertiesChanged");
    signal << QString(kSolverInterface) << QVariantMap() << changed;
    bus_.send(signal);
}

void SolverObject::Emit(const char* name, const QVariantList& arguments) {
    if (!published_) return;
    QDBusMessage signal = QDBusMessage::createSignal(kSolverPath, kSolverInterface, name);
    signal.setArguments(arguments);
    bus_.send(signal);
}

}  // namespace tornel
