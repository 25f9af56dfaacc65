#include "http/HttpAnswer.h"

#include "base/Text.h"

namespace krxservice {

HttpAnswer HttpAnswer::xml(std::string document, int status)
{
    HttpAnswer answer;
    answer.status = status;
    answer.type = "application/xml; charset=utf-8";
    answer.body = std::move(document);
    return answer;
}

HttpAnswer HttpAnswer::refused(const Refusal& refusal)
{
    HttpAnswer answer;
    answer.status = refusal.status;
    answer.type = "text/plain; charset=utf-8";
    answer.body = text::xmlClean(text::oneLine(refusal.text)) + "\n";
    return answer;
}

} // namespace krxservice
