#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <memory>
#include <string>

namespace krxmedia {

/// An open file as the media libraries see it. They read it by way of its descriptor, at positions of its
/// own, and can open nothing else, whatever the file asks for.
class Medium
{
public:
    enum class Verdict {
        Media,   ///< context() can be read from
        Nothing, ///< it is no media, or such as must not be opened; text() says why
        Later    ///< that could not be found out; text() says why
    };

    /// \a name is a hint: some formats are told by their extension only. The file stays the caller's, and
    /// open.
    Medium(int file, const std::string& name);
    ~Medium();
    Medium(const Medium&) = delete;
    Medium& operator=(const Medium&) = delete;

    /// Finds out the format and the streams.
    Verdict open();

    /// After open(): whether there is not one picture and no sound in it, however well it describes them.
    /// Asked before anything is read from context(). False when it cannot be found out.
    bool isEmpty();

    const std::string& text() const { return m_text; }
    const AVInputFormat& format() const { return *m_format; }
    int score() const { return m_score; }
    AVFormatContext& context() { return *m_context; }
    /// An errno value when the file could not be read at some time; 0 otherwise.
    int readError() const { return m_input.error; }

private:
    /// The file that was handed over.
    struct Input
    {
        int file;
        std::int64_t size;
        std::int64_t offset;
        int error;
    };

    Verdict find();
    Verdict read();
    Verdict says(Verdict verdict, const std::string& text);
    static std::size_t readAt(Input& input, std::int64_t offset, void* target, std::size_t size);
    static int readPacket(void* opaque, std::uint8_t* target, int size);
    static std::int64_t seek(void* opaque, std::int64_t offset, int whence);

    std::string m_name;
    Input m_input;
    AVIOContext* m_io = nullptr;
    AVFormatContext* m_context = nullptr;
    const AVInputFormat* m_format = nullptr;
    AVCodecID m_picture = AV_CODEC_ID_NONE; ///< of a picture that is told by its extension only
    int m_score = 0;
    std::string m_text;
};

/// What the media libraries call \a error.
std::string errorText(int error);

} // namespace krxmedia
