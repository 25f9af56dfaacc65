#include "watch/PathResolver.h"

#include "base/Text.h"

#include <thread>

namespace krxservice {

std::string PathResolver::canonical(const std::string& path)
{
    auto& known = m_questions[path];
    const bool isNew = !known;
    if (isNew)
        known = std::make_shared<Question>();
    const std::shared_ptr<Question> question = known;
    if (isNew) {
        std::thread([question, path] {
            std::string found = text::canonicalPath(path);
            const std::lock_guard lock(question->mutex);
            question->answer = std::move(found);
            question->answered.notify_all();
        }).detach();
    }
    std::unique_lock lock(question->mutex);
    if (isNew)
        question->answered.wait_for(lock, m_longest, [&] { return question->answer.has_value(); });
    return question->answer && !question->answer->empty() ? *question->answer : path;
}

void PathResolver::forget()
{
    for (auto it = m_questions.begin(); it != m_questions.end();) {
        bool answered = false;
        {
            const std::lock_guard lock(it->second->mutex);
            answered = it->second->answer.has_value();
        }
        it = answered ? m_questions.erase(it) : std::next(it);
    }
}

} // namespace krxservice
