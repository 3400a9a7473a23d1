#include "soaking/answers.h"

#include "util/json.h"

namespace soak {

const cJSON* carried(const TarnInternalMessage& message) {
    const cJSON* const param = util::jsonMember(message.data(), "param");
    return param == nullptr ? nullptr : param->child;
}

Answer answerOf(const TarnInternalMessage& message) {
    Answer answer;
    answer.number = requestNumber(message.uniqueId()).value_or(0);
    answer.status = message.statusCode();
    if (const cJSON* const item = carried(message)) {
        answer.name = item->string;
        answer.value = util::renderJSON(item, false);
    }
    return answer;
}

}  // namespace soak
