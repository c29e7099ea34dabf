#include "sweep/wire.h"

#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace workbench {

namespace {

// Each record says once what it consists of; writer and reader go over it alike.
class Writer {
  public:
    template <class... Values>
    void operator()(const Values&... values) {
        (put(values), ...);
    }
    std::string take() { return std::move(bytes_); }

  private:
    template <class Value>
    requires std::is_trivially_copyable_v<Value>
    void put(const Value& value) {
        bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
    void put(const std::string& text) {
        put(text.size());
        bytes_ += text;
    }
    void put(const CaseError& error) { (*this)(error.index, error.id, error.reason); }
    template <class Value>
    void put(const std::vector<Value>& values) {
        put(values.size());
        for (const Value& value : values) put(value);
    }

    std::string bytes_;
};

class Reader {
  public:
    explicit Reader(const std::string& bytes) : bytes_(bytes) {}

    template <class... Values>
    void operator()(Values&... values) {
        (get(&values), ...);
    }

  private:
    const char* take(std::size_t size) {
        if (size > bytes_.size() - at_)
            throw std::runtime_error("a message between processes is too short");
        at_ += size;
        return bytes_.data() + at_ - size;
    }
    template <class Value>
    requires std::is_trivially_copyable_v<Value>
    void get(Value* value) { std::memcpy(value, take(sizeof *value), sizeof *value); }
    void get(std::string* text) {
        std::size_t size = 0;
        get(&size);
        const char* start = take(size);
        text->assign(start, size);
    }
    void get(CaseError* error) { (*this)(error->index, error->id, error->reason); }
    template <class Value>
    void get(std::vector<Value>* values) {
        std::size_t size = 0;
        get(&size);
        if (size > bytes_.size()) take(size);
        values->resize(size);
        for (Value& value : *values) get(&value);
    }

    const std::string& bytes_;
    std::size_t at_ = 0;
};

template <class Archive, class Result>
void walk(Archive& archive, Result& result) {
    archive(result.thread, result.setting, result.plan.classes, result.plan.levels,
            result.plan.backups, result.planError, result.cases, result.levels,
            result.links, result.errors, result.placing, result.failing);
}

}  // namespace

std::string packed(const Batch& batch) {
    Writer writer;
    writer(batch.thread, batch.setting, batch.settingId, batch.cases,
           batch.matrix != nullptr,
           batch.matrix != nullptr ? *batch.matrix : std::string());
    return writer.take();
}

Batch batchFrom(const std::string& bytes) {
    Batch batch;
    bool hasMatrix = false;
    std::string matrix;
    Reader reader(bytes);
    reader(batch.thread, batch.setting, batch.settingId, batch.cases, hasMatrix, matrix);
    if (hasMatrix) batch.matrix = std::make_shared<const std::string>(std::move(matrix));
    return batch;
}

std::string packed(const BatchResult& result) {
    Writer writer;
    walk(writer, result);
    return writer.take();
}

BatchResult resultFrom(const std::string& bytes) {
    BatchResult result;
    Reader reader(bytes);
    walk(reader, result);
    return result;
}

std::string packed(const std::vector<std::string>& texts) {
    Writer writer;
    writer(texts);
    return writer.take();
}

std::vector<std::string> textsFrom(const std::string& bytes) {
    std::vector<std::string> texts;
    Reader reader(bytes);
    reader(texts);
    return texts;
}

}  // namespace workbench
