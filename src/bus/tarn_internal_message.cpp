// A received payload is split at its first line feed. The header line is decoded at once; the data
// stays text in the payload. The data of a new message is written as text from the start: each
// member takes the place of the closing brace. data() parses either text, once.

#include "bus/tarn_internal_message.h"

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "util/append.h"
#include "util/item_count.h"
#include "util/json_text.h"
#include "util/line_limit.h"
#include "util/log.h"
#include "util/memory.h"
#include "util/numbers.h"
#include "util/text.h"
#include "util/trace.h"

namespace {

using namespace std::string_view_literals;

std::unique_ptr<std::vector<char>> terminated(std::unique_ptr<std::vector<char>> payload) {
    if (!payload) {
        payload = std::make_unique<std::vector<char>>();
    }
    if (payload->empty() || payload->back() != '\0') {
        util::traceError("** TarnInternalMessage Error: Input vector must be null terminated **\n");
        payload->push_back('\0');
    }
    return payload;
}

// What answers and notifications usually take.
constexpr std::size_t kUsualHeaderBytes = 64;
constexpr std::size_t kUsualDataBytes = 192;

// Every answer repeats it, and a request has up to 50,000.
constexpr std::size_t kMaxIdBytes = std::size_t{64} * 1024;

bool hasUsableId(const cJSON* data) {
    const char* const id = util::jsonText(util::jsonMember(data, "id"));
    return id == nullptr || strnlen(id, kMaxIdBytes + 1) <= kMaxIdBytes;
}

void logTime(const lumo::DecodedHeader& decoded) {
    if (decoded.timeFault == lumo::TimeFault::delay) {
        util::logLimited("Error parsing message time", LOG_WARNING,
                         "Error parsing message time: %s\n",
                         util::shownPayload(decoded.timeText).c_str());
    }
    if (decoded.timeFault == lumo::TimeFault::milliseconds) {
        util::logLimited("error decoding ms value", LOG_INFO, "error decoding ms value.\n");
    }
    if (decoded.header.scheduled.isScheduled()) {
        util::logLimited("Message Scheduled", LOG_INFO, "Message Scheduled at %s\n",
                         lumo::formatScheduledTime(decoded.header.scheduled).c_str());
    }
}

// Null when the text does not parse, or has more than the receiver accepts.
util::UniqueJSON parseData(std::string_view text) {
    if (util::hasMoreItems(text, util::kMaxItems)) {
        return nullptr;
    }
    util::UniqueJSON data = util::parseJSON(text.data(), text.size());
    return data && hasUsableId(data.get()) ? std::move(data) : nullptr;
}

int32_t readInt32(const cJSON* item) {
    return cJSON_IsNumber(item) ? util::saturatedInt32(item->valuedouble) : 0;
}

const cJSON* requiredMember(const cJSON* data, const char* key) {
    const cJSON* const item = util::jsonMember(data, key);
    if (!item) {
        throw std::runtime_error(std::string(key) + " not found");
    }
    return item;
}

std::string requiredText(const cJSON* data, const char* key) {
    const char* const text = util::jsonText(requiredMember(data, key));
    if (!text) {
        throw std::runtime_error(std::string(key) + " is not string type");
    }
    return text;
}

}  // namespace

TarnInternalMessage::TarnInternalMessage(std::unique_ptr<std::vector<char>> payload)
    : rawBuffer_(terminated(std::move(payload))) {
    if (!decodeOrLog(rawBuffer_->data())) {
        throw std::runtime_error("Error Parsing TarninternalMessage");
    }
}

TarnInternalMessage::TarnInternalMessage(MallocText payload) : text_(std::move(payload)) {
    if (text_) {
        decodeOrLog(text_.get());
    }
}

TarnInternalMessage::TarnInternalMessage(MessageType type, std::string objectName,
                                         std::string uniqueId, int32_t destination)
    : uniqueId_(std::move(uniqueId)) {
    header_.type = type;
    header_.destination = destination;
    header_.objectName = std::move(objectName);
    madeData_.reserve(kUsualDataBytes);
    madeData_ += '{';
    addText("id", uniqueId_);
}

TarnInternalMessage::~TarnInternalMessage() {
    const bool large = rawBuffer_ && rawBuffer_->size() > util::kLargeUse;
    rawBuffer_.reset();
    data_.reset();
    if (large) {
        util::returnFreeMemory();
    }
}

// Copying the header may run out of memory, so neither of these can promise not to throw.
// NOLINTNEXTLINE(performance-noexcept-move-constructor)
TarnInternalMessage::TarnInternalMessage(TarnInternalMessage&& other) {
    *this = std::move(other);
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor)
TarnInternalMessage& TarnInternalMessage::operator=(TarnInternalMessage&& other) {
    header_ = other.header_;
    logging_ = other.logging_;
    madeData_ = std::exchange(other.madeData_, {});
    dataText_ = std::exchange(other.dataText_, nullptr);
    text_ = std::move(other.text_);
    rawBuffer_ = std::move(other.rawBuffer_);
    data_ = std::move(other.data_);
    uniqueId_ = std::exchange(other.uniqueId_, {});
    nameQuery_.reset();
    other.nameQuery_.reset();
    filePath_ = std::exchange(other.filePath_, {});
    return *this;
}

std::optional<TarnInternalMessage> TarnInternalMessage::tryDecode(
    std::unique_ptr<std::vector<char>> payload) {
    TarnInternalMessage message;
    message.logging_ = false;
    if (!payload) {
        return std::nullopt;
    }
    if (payload->empty() || payload->back() != '\0') {
        payload->push_back('\0');
    }
    message.rawBuffer_ = std::move(payload);
    if (message.decode(message.rawBuffer_->data()) != DecodeFailure::none) {
        return std::nullopt;
    }
    return message;
}

std::optional<TarnInternalMessage> TarnInternalMessage::tryDecode(std::string_view payload) {
    return tryDecode(std::make_unique<std::vector<char>>(payload.begin(), payload.end()));
}

bool TarnInternalMessage::decodeOrLog(char* payload) {
    switch (decode(payload)) {
        case DecodeFailure::none:
            return true;
        case DecodeFailure::noHeader:
            util::logLimited("TarnInternalMessage Header not found", LOG_INFO,
                             "TarnInternalMessage Header not found:%s\n",
                             util::shownPayload(payload).c_str());
            return false;
        case DecodeFailure::invalidHeader:
            util::logLimited("TarnInternalMessage header decode error", LOG_INFO,
                             "TarnInternalMessage header decode error:%s\n",
                             util::shownPayload(payload).c_str());
            return false;
    }
    return false;
}

// Ends the header line with a NUL. The rest of the payload is not parsed here: most receivers only
// look at the header.
TarnInternalMessage::DecodeFailure TarnInternalMessage::decode(char* payload) {
    char* const lineEnd = std::strchr(payload, '\n');
    if (!lineEnd) {
        return DecodeFailure::noHeader;
    }
    *lineEnd = '\0';
    std::optional<lumo::DecodedHeader> decoded = lumo::decodeHeader(payload, lumo::currentTime());
    if (!decoded) {
        return DecodeFailure::invalidHeader;
    }
    if (logging_) {
        logTime(*decoded);
    }
    header_ = std::move(decoded->header);
    dataText_ = lineEnd + 1;
    return DecodeFailure::none;
}

std::string TarnInternalMessage::encode() const {
    std::string payload;
    payload.reserve(kUsualHeaderBytes + madeData_.size());
    header_.encodeTo(payload);
    if (!madeData_.empty()) {
        payload += madeData_;
    } else if (data_) {
        util::appendJSON(payload, *data_);
    } else if (dataText_) {
        payload += dataText_;
    }
    return payload;
}

void TarnInternalMessage::parseOnce() const {
    if (data_) {
        return;
    }
    if (!madeData_.empty()) {
        data_ = util::parseJSON(madeData_.data(), madeData_.size());
    } else if (dataText_) {
        data_ = parseData(dataText_);
        if (!data_ && logging_) {
            util::logLimited("TarnInternalMessage data decode error", LOG_INFO,
                             "TarnInternalMessage data decode error:%s\n",
                             util::shownPayload(dataText_).c_str());
        }
        data_ = data_ ? std::move(data_) : util::jsonNull();
    }
}

const cJSON* TarnInternalMessage::data() const {
    static const util::UniqueJSON kNoData = util::jsonNull();
    parseOnce();
    return data_ ? data_.get() : kNoData.get();
}

util::UniqueJSON TarnInternalMessage::takeData() {
    parseOnce();
    dataText_ = nullptr;
    madeData_.clear();
    nameQuery_.reset();
    return data_ ? std::move(data_) : util::jsonNull();
}

const lumo::NameQuery& TarnInternalMessage::nameQuery() const {
    std::string_view id;
    if (!nameQuery_ && !data_ && dataText_) {
        nameQuery_ = lumo::scanNameQuery(dataText_, id);
    }
    if (!nameQuery_ || id.size() > kMaxIdBytes) {
        nameQuery_ = lumo::readNameQuery(data());
    } else if (!id.empty()) {
        uniqueId_ = id;
    }
    return *nameQuery_;
}

const std::string& TarnInternalMessage::uniqueId() const {
    if (!uniqueId_.empty()) {
        return uniqueId_;
    }
    const char* const id = util::jsonText(util::jsonMember(data(), "id"));
    if (id) {
        uniqueId_ = id;
    } else if (logging_) {
        util::logLimited("UniqueID not found", LOG_DEBUG, "UniqueID not found.\n");
    }
    return uniqueId_;
}

int TarnInternalMessage::statusCode() const {
    const int32_t code = readInt32(util::jsonMember(data(), "statusCode"));
    return isKnownStatus(code) ? code : 0;
}

std::pair<int32_t, int32_t> TarnInternalMessage::sequence() const {
    const cJSON* const pair = util::jsonMember(data(), "seq");
    if (!cJSON_IsArray(pair) || cJSON_GetArraySize(pair) != 2) {
        return {0, 0};
    }
    return {readInt32(cJSON_GetArrayItem(pair, 0)), readInt32(cJSON_GetArrayItem(pair, 1))};
}

ResponseStatus TarnInternalMessage::responseStatus() const {
    const cJSON* const fields = data();
    if (!cJSON_IsObject(fields)) {
        throw std::runtime_error("no data object");
    }
    ResponseStatus status;
    status.id = requiredText(fields, "id");
    status.requestCommand = requiredText(fields, "requestCommand");
    const cJSON* const code = requiredMember(fields, "statusCode");
    if (!cJSON_IsNumber(code)) {
        throw std::runtime_error("statusCode not found");
    }
    status.statusCode = readInt32(code);
    const char* const text = util::jsonText(requiredMember(fields, "statusMsg"));
    status.statusMsg = text ? text : "";
    return status;
}

// The member takes the place of the closing brace.
void TarnInternalMessage::beginMember() {
    if (madeData_.back() == '}') {
        madeData_.back() = ',';
    }
}

void TarnInternalMessage::addWord(std::string_view key, std::string_view word) {
    beginMember();
    util::append(madeData_, {"\""sv, key, "\":\""sv, word, "\"}"sv});
}

void TarnInternalMessage::addText(std::string_view key, std::string_view text) {
    beginMember();
    util::append(madeData_, {"\""sv, key, "\":"sv});
    util::appendJSONString(madeData_, text);
    madeData_ += '}';
}

void TarnInternalMessage::addNumber(std::string_view key, int number) {
    beginMember();
    util::append(madeData_, {"\""sv, key, "\":"sv, util::Digits(number), "}"sv});
}

void TarnInternalMessage::addMember(std::string_view key, std::string_view name,
                                    const util::JSONText& value) {
    beginMember();
    util::append(madeData_, {"\""sv, key, "\":{"sv});
    util::appendJSONString(madeData_, name);
    util::append(madeData_, {":"sv, value.text, "}}"sv});
}

void TarnInternalMessage::addData(std::string_view key, util::UniqueJSON item) {
    if (item) {
        beginMember();
        util::appendJSONString(madeData_, key);
        madeData_ += ':';
        util::appendJSON(madeData_, *item);
        madeData_ += '}';
    }
}
