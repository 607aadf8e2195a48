#include <ko/pipeline/item.h>

#include "pipeline/item_core.h"

namespace ko {

namespace {

const QString nameKey = QStringLiteral("name");
const QString capacityKey = QStringLiteral("queueCapacity");
const QString policyKey = QStringLiteral("queuePolicy");

QString newName()
{
    static std::atomic<int> count{0};
    return QStringLiteral("item %1").arg(++count);
}

bool isQueueSetting(int capacity, int policy)
{
    return capacity >= 1 && (policy == QueueBlocks || policy == QueueDropsOldest);
}

}  // namespace

IxPipeItem::IxPipeItem(ExFlags flags, QObject* parent)
    : QObject(parent), m_core(std::make_unique<Core>(*this, newName(), flags))
{
}

IxPipeItem::~IxPipeItem()
{
    m_core->warnUnlessRetired(*this);
    retire();
}

QString IxPipeItem::name() const
{
    const QMutexLocker lock(&m_mutex);
    return m_core->name;
}

QThread* IxPipeItem::myThread() const
{
    return &m_core->worker;
}

IxPipeItem::ExState IxPipeItem::state_noLock() const
{
    return m_core->state;
}

IxPipeItem::ExFlags IxPipeItem::flags() const
{
    const QMutexLocker lock(&m_mutex);
    return m_core->flags;
}

int IxPipeItem::queueCapacity() const
{
    const QMutexLocker lock(&m_mutex);
    return m_core->queueCapacity;
}

ExQueuePolicy IxPipeItem::queuePolicy() const
{
    const QMutexLocker lock(&m_mutex);
    return m_core->queuePolicy;
}

bool IxPipeItem::setQueue(int capacity, ExQueuePolicy policy)
{
    const QMutexLocker lock(&m_mutex);
    if (state_noLock() == StateStarted || !isQueueSetting(capacity, policy))
        return false;
    m_core->queueCapacity = capacity;
    m_core->queuePolicy = policy;
    return true;
}

SxPipeStatistics IxPipeItem::statistics() const
{
    return m_core->queue.statistics();
}

bool IxPipeItem::waitUntilIdle(int milliseconds) const
{
    return !PipeWorker::isCurrent() &&
           std::make_shared<IdleWait>(std::vector{&std::as_const(m_core->queue)})->wait(milliseconds);
}

QString IxPipeItem::title() const
{
    return name();
}

bool IxPipeItem::setName(const QString& name)
{
    const QMutexLocker lock(&m_mutex);
    if (state_noLock() == StateStarted)
        return false;
    m_core->name = name;
    m_core->worker.setObjectName(name);
    return true;
}

double IxPipeItem::calcFps() const
{
    return m_core->queue.framesPerSecond();
}

bool IxPipeItem::isStarted() const
{
    const QMutexLocker lock(&m_mutex);
    return state_noLock() == StateStarted;
}

bool IxPipeItem::isStopped() const
{
    return !isStarted();
}

bool IxPipeItem::isValid() const
{
    return true;
}

bool IxPipeItem::loadSettings(const QVariantMap& settings)
{
    const QMutexLocker lock(&m_mutex);
    bool isNumber[2] = {};
    const QVariant name = settings.value(nameKey, m_core->name);
    const int capacity = settings.value(capacityKey, m_core->queueCapacity).toInt(&isNumber[0]);
    const int policy = settings.value(policyKey, int{m_core->queuePolicy}).toInt(&isNumber[1]);
    if (state_noLock() == StateStarted || !name.canConvert<QString>() || !isNumber[0] || !isNumber[1] ||
        !isQueueSetting(capacity, policy))
        return false;
    m_core->name = name.toString();
    m_core->worker.setObjectName(m_core->name);
    m_core->queueCapacity = capacity;
    m_core->queuePolicy = static_cast<ExQueuePolicy>(policy);
    return true;
}

QVariantMap IxPipeItem::saveSettings() const
{
    const QMutexLocker lock(&m_mutex);
    return {
        {nameKey, m_core->name}, {capacityKey, m_core->queueCapacity}, {policyKey, int{m_core->queuePolicy}}};
}

bool IxPipeItem::hasConfigurationWidget() const
{
    return false;
}

QWidget* IxPipeItem::configurationWidget(QWidget*)
{
    return nullptr;
}

void IxPipeItem::addFlags(ExFlags flags)
{
    const QMutexLocker lock(&m_mutex);
    m_core->flags |= flags;
}

bool IxPipeItem::addSuccessor(IxPipeItem* successor)
{
    return successor != nullptr && acceptAsSuccessor(successor) && successor->acceptAsPrecedessor(this) &&
           PipeGraph::connect(*this, *successor);
}

bool IxPipeItem::removeSuccessor(IxPipeItem* successor)
{
    return successor != nullptr && PipeGraph::disconnect(*this, *successor);
}

bool IxPipeItem::addPrecedessor(IxPipeItem* precedessor)
{
    return precedessor != nullptr && precedessor->addSuccessor(this);
}

bool IxPipeItem::removePrecedessor(IxPipeItem* precedessor)
{
    return precedessor != nullptr && precedessor->removeSuccessor(this);
}

bool IxPipeItem::setupStart()
{
    return true;
}

void IxPipeItem::setupStop() {}

bool IxPipeItem::acceptsData(const IxDataInfo* info)
{
    IxDataInfo* output = nullptr;
    const bool isAccepted = queryOutputDataInfo(info, output, nullptr, nullptr);
    delete output;
    return isAccepted;
}

bool IxPipeItem::onDataAvailable(IxData* data, const IxPipeItem* sender)
{
    return data != nullptr &&
           m_core->queue.push(FrameQueue::Frame(data), sender != nullptr ? &sender->m_core->queue : nullptr);
}

void IxPipeItem::onPipeStarted() {}

void IxPipeItem::onPipeStopped() {}

}  // namespace ko
