#ifndef FUZZ_OUTLET_H
#define FUZZ_OUTLET_H

#include <memory>
#include <utility>

#include "data_logger.h"
#include "formats.h"
#include "log_controller.h"
#include "require.h"
#include "subscribe_all.h"
#include "ti_multi_observer.h"

/// Keeps the bytes of the latest record.
class LatestRecord : public TIMultiObserver<ImuData, GnssData, GnssPvt, AttitudeData, GenericData>
{
public:
    void update(ImuData const& record) override { keep(1, record); }
    void update(GnssData const& record) override { keep(2, record); }
    void update(GnssPvt const& record) override { keep(3, record); }
    void update(AttitudeData const& record) override { keep(4, record); }
    void update(GenericData const& record) override { keep(5, record); }

    unsigned count = 0;
    uint8_t type = 0;
    Bytes bytes;

private:
    template <class Record>
    void keep(uint8_t typeCode, Record const& record)
    {
        ++count;
        type = typeCode;
        bytes = {};
        bytes.append(reinterpret_cast<uint8_t const*>(&record), sizeof record);
    }
};

/// Keeps the latest datagram sent.
class LatestDatagram : public IUdpCon
{
public:
    bool open() override { return true; }
    bool close() override { return true; }
    bool transmit(sockaddr_in const* /*to*/, unsigned char const* data, unsigned int len) override
    {
        ++count;
        bytes = {};
        bytes.append(data, len);
        return true;
    }
    void setRxCallBack(RxCallBack const& /*cb*/) override {}
    void setBindGuard(std::shared_ptr<WaitPoint> /*guard*/) override {}
    void setPeriodicRxCallBack(RxCallBack const& /*cb*/, unsigned int /*period*/) override {}
    void rxDataReady() override {}

    unsigned count = 0;
    Bytes bytes;
};

/// Observes all records of a source: as they are, and as the datagrams that a replay sends them in.
class Outlet
{
public:
    template <class Source>
    explicit Outlet(Source& source)
    {
        LogControllerFactory const controllers(m_sent, std::make_shared<sockaddr_in>());
        m_logger->setController(controllers.create());
        subscribe_all(m_record, &source);
        subscribe_all(m_logger, &source);
    }

    /// Judges what has come since the last call.
    void requireNothing()
    {
        require(takeCount(m_record->count) == 0, "no record is published");
        require(takeCount(m_sent->count) == 0, "no datagram is sent");
    }

    void requireOnly(uint8_t type, Bytes const& record)
    {
        require(takeCount(m_record->count) == 1, "one record is published");
        require(m_record->type == type, "the record is of its own type");
        require(m_record->bytes == record, "the record holds the bytes received");
        require(takeCount(m_sent->count) == 1, "one datagram is sent");
        require(m_sent->bytes == datagramOf(type, record), "the datagram holds the record");
    }

private:
    static unsigned takeCount(unsigned& count) { return std::exchange(count, 0); }

    std::shared_ptr<LatestRecord> m_record = std::make_shared<LatestRecord>();
    std::shared_ptr<LatestDatagram> m_sent = std::make_shared<LatestDatagram>();
    std::shared_ptr<DataLogger> m_logger = std::make_shared<DataLogger>();
};

#endif
