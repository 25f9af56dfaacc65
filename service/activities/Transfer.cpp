#include "activities/Transfer.h"

#include "base/FileTools.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <thread>

namespace krxservice {

namespace {

constexpr std::size_t kPiece = std::size_t{1024} * 1024;
constexpr std::size_t kPieces = 4; ///< read ahead of the writer
/// Of what is read past the system's memory: nobody reads ahead there, so the disk is asked for much at a
/// time.
constexpr std::size_t kLargePiece = 8 * kPiece;
/// What goes past the memory of the system begins and ends at these.
constexpr std::size_t kBlock = 4096;
/// Smaller files go by way of the system's memory: the disk need not be waited for at each of them.
constexpr std::int64_t kLargeFile = std::int64_t{4} * 1024 * 1024;
/// Bytes after which the disk is set to work.
constexpr std::int64_t kWriteBehind = std::int64_t{8} * 1024 * 1024;

/// Memory for one piece, placed as disks want it.
class Piece
{
public:
    explicit Piece(std::size_t size = kPiece)
        : m_bytes(static_cast<char*>(std::aligned_alloc(kBlock, size)), &std::free)
    {
        if (!m_bytes)
            throw std::bad_alloc();
    }
    char* data() const { return m_bytes.get(); }

private:
    std::unique_ptr<char, void (*)(void*)> m_bytes;
};

/// Lets a file be read or written past the system's memory, or not. False when its volume cannot do that.
bool setDirect(int file, bool isDirect)
{
    const int flags = ::fcntl(file, F_GETFL);
    return flags >= 0 && ::fcntl(file, F_SETFL, isDirect ? flags | O_DIRECT : flags & ~O_DIRECT) == 0;
}

/// Reads pieces one after the other and hashes them.
class Reader
{
public:
    explicit Reader(int file, std::size_t pieceSize = kPiece)
        : m_file(file)
        , m_pieceSize(pieceSize)
        , m_state(XXH3_createState(), &XXH3_freeState)
    {
        XXH3_64bits_reset(m_state.get());
    }

    /// Fills \a piece; fewer bytes at the end, 0 behind it or after an error.
    std::size_t next(char* piece)
    {
        std::size_t filled = 0;
        while (filled < m_pieceSize && m_error == 0) {
            const ssize_t got = ::pread(m_file, piece + filled, m_pieceSize - filled, m_offset);
            if (got < 0 && errno == EINTR)
                continue;
            // Behind the end, or where the volume takes it all the same only in its own measures.
            if (got < 0 && errno == EINVAL && !m_isPlain && setDirect(m_file, false)) {
                m_isPlain = true;
                continue;
            }
            if (got < 0)
                m_error = errno;
            if (got <= 0)
                break;
            filled += static_cast<std::size_t>(got);
            m_offset += got;
        }
        XXH3_64bits_update(m_state.get(), piece, filled);
        return m_error == 0 ? filled : 0;
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
    std::size_t m_pieceSize;
    std::int64_t m_offset = 0;
    int m_error = 0;
    bool m_isPlain = false; ///< it goes by way of the system's memory after all
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
            const std::size_t size = reader.next(m_pieces[slot].data());
            lock.lock();
            m_sizes[slot] = size;
            ++m_read;
            m_wake.notify_all();
            if (size == 0)
                return;
        }
    }

    std::array<Piece, kPieces> m_pieces;
    std::array<std::size_t, kPieces> m_sizes{};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::size_t m_read = 0;  ///< pieces read so far
    std::size_t m_taken = 0; ///< pieces written so far
    bool m_inHand = false;   ///< one is being written
    bool m_ended = false;
    std::thread m_thread;
};

/// Writes pieces one after the other: large files past the system's memory, which would only be filled with
/// what nobody reads from there, and in many machines gives pages away more slowly than the disk writes.
class Writer
{
public:
    Writer(int file, bool isLarge)
        : m_file(file)
        , m_isDirect(isLarge && setDirect(file, true))
    {
    }

    /// \return 0 or an errno value.
    int write(std::string_view piece)
    {
        const std::size_t whole = m_isDirect ? piece.size() - piece.size() % kBlock : 0;
        if (whole > 0) {
            const ssize_t put = ::write(m_file, piece.data(), whole);
            if (put < 0 && errno != EINVAL && errno != EINTR)
                return errno;
            const auto done = put > 0 ? static_cast<std::size_t>(put) : 0;
            piece.remove_prefix(done);
            if (done == whole && piece.empty())
                return 0;
        }
        // The end, and whatever the volume does not take in this way.
        if (m_isDirect && !setDirect(m_file, false))
            return errno;
        m_isDirect = false;
        return filetools::writeAll(m_file, piece);
    }
    bool isDirect() const { return m_isDirect; }

private:
    int m_file;
    bool m_isDirect;
};

std::int64_t sizeOf(int file)
{
    struct stat facts
    {
    };
    return ::fstat(file, &facts) == 0 ? facts.st_size : 0;
}

} // namespace

TransferResult transfer(int source, int target, const CancelToken& cancel,
                        const std::function<void(std::int64_t)>& written)
{
    TransferResult result;
    Reader reader(source);
    Writer writer(target, sizeOf(source) >= kLargeFile);
    const Piece first;
    std::string_view piece(first.data(), reader.next(first.data()));
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
        result.writeError = writer.write(piece);
        result.bytes += static_cast<std::int64_t>(piece.size());
        if (!writer.isDirect() && result.bytes - behind >= kWriteBehind) {
            ::sync_file_range(target, behind, result.bytes - behind, SYNC_FILE_RANGE_WRITE);
            behind = result.bytes;
        }
        if (written && result.writeError == 0)
            written(result.bytes);
        if (ahead)
            piece = ahead->next();
        else
            piece = {first.data(), reader.next(first.data())};
    }
    ahead.reset();
    result.readError = reader.error();
    result.checksum = reader.checksum();
    return result;
}

TransferResult readBack(int file, const CancelToken& cancel)
{
    TransferResult result;
    // So that the disk is asked and not the memory that was just filled.
    ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    const std::size_t pieceSize = sizeOf(file) >= kLargeFile ? kLargePiece : kPiece;
    if (pieceSize > kPiece)
        setDirect(file, true);
    Reader reader(file, pieceSize);
    const Piece first(pieceSize);
    std::string_view piece(first.data(), reader.next(first.data()));
    while (!piece.empty() && !(result.cancelled = *cancel)) {
        result.bytes += static_cast<std::int64_t>(piece.size());
        if (piece.size() < pieceSize)
            break;
        piece = {first.data(), reader.next(first.data())};
    }
    result.readError = reader.error();
    result.checksum = reader.checksum();
    return result;
}

} // namespace krxservice
