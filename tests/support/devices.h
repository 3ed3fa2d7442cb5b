// Devices that misbehave: short of room, out of order, a byte at a time.
#pragma once

#include <QByteArray>
#include <QIODevice>

#include <cstring>

namespace vellum::test {

/// Takes \a room bytes and then fails, as a full disk does.
class LimitedDevice : public QIODevice
{
public:
    explicit LimitedDevice(qint64 room) : m_room(room)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    QByteArray written() const { return m_written; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 size) override
    {
        const qint64 taken = qMin(size, m_room - m_written.size());
        m_written.append(data, int(taken));
        return taken > 0 || size == 0 ? taken : -1;
    }

private:
    qint64 m_room;
    QByteArray m_written;
};

/// Gives \a data, at most \a atOnce bytes per read, and cannot seek, as a pipe does.
class SequentialDevice : public QIODevice
{
public:
    SequentialDevice(const QByteArray &data, qint64 atOnce) : m_data(data), m_atOnce(atOnce)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_data.size() - m_at; }

protected:
    qint64 readData(char *out, qint64 size) override
    {
        const qint64 given = qMin(qMin(size, m_atOnce), qint64(m_data.size()) - m_at);
        if (given <= 0)
            return -1;
        std::memcpy(out, m_data.constData() + m_at, size_t(given));
        m_at += given;
        return given;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_data;
    qint64 m_atOnce;
    qint64 m_at = 0;
};

/// Gives \a data as a file does, but fails from \a failAt on.
class FailingDevice : public QIODevice
{
public:
    FailingDevice(const QByteArray &data, qint64 failAt) : m_data(data), m_failAt(failAt)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    qint64 size() const override { return m_data.size(); }

protected:
    qint64 readData(char *out, qint64 size) override
    {
        const qint64 given = qMin(size, m_failAt - pos());
        if (given <= 0)
            return -1;
        std::memcpy(out, m_data.constData() + pos(), size_t(given));
        return given;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_data;
    qint64 m_failAt;
};

} // namespace vellum::test
