#include "RecordBuilder.h"

#include <tangor/coding/CodingManager.h>
#include <tangor/phonetic/phonetic.h>

namespace tangor::index {

namespace {

corvina::StrippedValue trimmed(const std::string& tag) {
    return corvina::trim(tag.data(), static_cast<unsigned>(tag.size()));
}

}  // namespace

RecordBuilder::RecordBuilder()
    : engine_(corvina::CodingManager::isAsianCoding()),
      readings_(engine_ || corvina::CodingManager::isJapaneseCoding()) {
    if (engine_) {
        init_lib(&iWnn, corvina::CodingManager::getCountryCode());
    }
}

RecordBuilder::~RecordBuilder() {
    if (engine_) {
        free_dic(&iWnn);
    }
}

corvina::MetaDataInfo RecordBuilder::build(const MountPoint& mountPoint,
                                           const std::string& relativePath, const Tags& tags,
                                           std::int64_t lastModified) const {
    corvina::MetaDataInfo record(mountPoint.absolute(relativePath), mountPoint.path(),
                                 trimmed(tags.title), trimmed(tags.artist), trimmed(tags.album),
                                 trimmed(tags.genre), trimmed(tags.composer), tags.trackNumber,
                                 tags.discNumber, static_cast<long>(lastModified));
    if (readings_) {
        record.setAsianFields();
    }
    return record;
}

}  // namespace tangor::index
