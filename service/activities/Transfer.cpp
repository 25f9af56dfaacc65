#include "activities/Transfer.h"

#include "base/FileTools.h"

#include <fcntl.h>
#include <unistd.h>
#include <xxhash.h>

#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

namespace krxservice {

namespace {

constexpr std::size_t kPiece = std::size_t{1024} * 1024;
constexpr std::size_t kPieces = 4; ///< read ahead of the writer
/// Bytes after which the disk is set to work.
constexpr std::int64_t kWriteBehind = std::int64_t{8} * 1024 * 1024;

/// Reads pieces one after the other and hashes them.
class Reader
{
public:
    explicit Reader(int file)
        : m_file(file)
        , m_state(XXH3_createState(), &XXH3_freeState)
    {
        XXH3_64bits_reset(m_state.get());
    }

    /// The bytes read, 0 at the end or after an error.
    std::size_t next(char* piece, std::size_t size)
    {
        for (;;) {
            const ssize_t got = ::pread(m_file, piece, size, m_offset);
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                m_error = errno;
            if (got <= 0)
                return 0;
            XXH3_64bits_update(m_state.get(), piece, static_cast<std::size_t>(got));
            m_offset += got;
            return static_cast<std::size_t>(got);
        }
    }
    int error() const { return m_error; }
    std::string checksum() const
    {
        char text[48];
        std::snprintf(text, sizeof text, "xxh3-64:%016llx",
                      static_cast<unsigned long long>(XXH3_64bits_digest(m_state.get())));
        return text;
    }

private:
    int m_file;
    std::int64_t m_offset = 0;
    int m_error = 0;
    std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> m_state;
};

/// Pieces on their way from the thread that reads to the one that writes.
class ReadAhead
{
public:
    explicit ReadAhead(Reader& reader)
        : m_thread([this, &reader] { read(reader); })
    {
    }
    ~ReadAhead()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// The next piece, valid until the next call; empty at the end.
    std::string_view next()
    {
        std::unique_lock lock(m_mutex);
        if (m_inHand) {
            m_inHand = false;
            ++m_taken;
            m_wake.notify_all();
        }
        m_wake.wait(lock, [this] { return m_read > m_taken; });
        m_inHand = true;
        const std::size_t slot = m_taken % kPieces;
        return {m_pieces[slot].data(), m_sizes[slot]};
    }

private:
    void read(Reader& reader)
    {
        for (;;) {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_ended || m_read - m_taken < kPieces; });
            if (m_ended)
                return;
            const std::size_t slot = m_read % kPieces;
            lock.unlock();
            m_pieces[slot].resize(kPiece);
            const std::size_t size = reader.next(m_pieces[slot].data(), kPiece);
            lock.lock();
            m_sizes[slot] = size;
            ++m_read;
            m_wake.notify_all();
            if (size == 0)
                return;
        }
    }

    std::array<std::vector<char>, kPieces> m_pieces;
    std::array<std::size_t, kPieces> m_sizes{};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::size_t m_read = 0;  ///< pieces read so far
    std::size_t m_taken = 0; ///< pieces written so far
    bool m_inHand = false;   ///< one is being written
    bool m_ended = false;
    std::thread m_thread;
};

} // namespace

TransferResult transfer(int source, int target, const CancelToken& cancel,
                        const std::function<void(std::int64_t)>& written)
{
    TransferResult result;
    Reader reader(source);
    std::vector<char> first(kPiece);
    std::string_view piece(first.data(), reader.next(first.data(), first.size()));
    std::unique_ptr<ReadAhead> ahead;
    std::int64_t behind = 0;
    while (!piece.empty() && result.writeError == 0) {
        if (*cancel) {
            result.cancelled = true;
            return result;
        }
        // Most small files are one piece; a thread is not worth its start then.
        const bool isMore = piece.size() == kPiece;
        if (isMore && !ahead)
            ahead = std::make_unique<ReadAhead>(reader);
        result.writeError = filetools::writeAll(target, piece);
        result.bytes += static_cast<std::int64_t>(piece.size());
        if (result.bytes - behind >= kWriteBehind) {
            ::sync_file_range(target, behind, result.bytes - behind, SYNC_FILE_RANGE_WRITE);
            behind = result.bytes;
        }
        if (written && result.writeError == 0)
            written(result.bytes);
        if (ahead)
            piece = ahead->next();
        else
            piece = {first.data(), reader.next(first.data(), first.size())};
    }
    ahead.reset();
    result.readError = reader.error();
    result.checksum = reader.checksum();
    return result;
}

} // namespace krxservice
