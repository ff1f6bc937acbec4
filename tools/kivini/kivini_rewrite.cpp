// kivini: writing a changed model in place of its file (see
// kivini_document.hpp for the steps and why they are taken).

#include <cstring>
#include <fstream>

#include "kiv_filename.hpp"
#include "kiv_inisave.hpp"
#include "kivini_document.hpp"
#include "kivini_files.hpp"

namespace kivini {
namespace {

const char* valueOf(const KivClIniFileOption* option, const Replacement& replacement) {
  return option == replacement.option ? replacement.value.c_str() : option->getValue();
}

const KivClIniFileSection* liveSection(const KivClIniFileSection* section) {
  while (section != nullptr && section->isDeleted()) section = section->getNext();
  return section;
}

const KivClIniFileOption* liveOption(const KivClIniFileOption* option) {
  while (option != nullptr && option->isDeleted()) option = option->getNext();
  return option;
}

// Writes the model item by item through the writer, which opens the
// temporary file itself on its first item. Deleted sections and options
// are left out, as the writer's save() does.
bool writeModel(const KivClIniFile& model, const Replacement& replacement,
                const std::string& temporary) {
  KivClIniFileSave writer{KivClFilename(temporary.c_str())};
  std::ofstream stream;
  bool good = true;
  for (const KivClIniFileSection* s = liveSection(model.getFirstSection()); s != nullptr;
       s = liveSection(s->getNext())) {
    good = writer.saveSection(stream, s->getName(), nullptr) && good;
    for (const KivClIniFileOption* o = liveOption(s->getFirstOption()); o != nullptr;
         o = liveOption(o->getNext())) {
      const std::string value = valueForWriter(valueOf(o, replacement));
      good = writer.saveOption(stream, o->getName(), value.c_str(), o->getComment()) && good;
    }
  }
  if (stream.is_open()) {
    stream.close();
    good = good && !stream.fail();
  }
  return good;
}

// Compares the model (with the replacement) with the file read back and
// names the first section or option that differs.
bool sameAsModel(const KivClIniFile& model, const Replacement& replacement,
                 const KivClIniFile& readBack, RewriteFailure& failure) {
  const KivClIniFileSection* expected = liveSection(model.getFirstSection());
  const KivClIniFileSection* actual = liveSection(readBack.getFirstSection());
  for (; expected != nullptr && actual != nullptr;
       expected = liveSection(expected->getNext()), actual = liveSection(actual->getNext())) {
    failure.section = expected->getName();
    if (std::strcmp(expected->getName(), actual->getName()) != 0) return false;
    const KivClIniFileOption* e = liveOption(expected->getFirstOption());
    const KivClIniFileOption* a = liveOption(actual->getFirstOption());
    for (; e != nullptr && a != nullptr;
         e = liveOption(e->getNext()), a = liveOption(a->getNext())) {
      failure.option = e->getName();
      if (std::strcmp(e->getName(), a->getName()) != 0 ||
          std::strcmp(valueOf(e, replacement), a->getValue()) != 0 ||
          std::strcmp(e->getComment(), a->getComment()) != 0) {
        return false;
      }
    }
    if (e != nullptr || a != nullptr) {
      failure.option = e != nullptr ? e->getName() : a->getName();
      return false;
    }
    failure.option.clear();
  }
  if (expected != nullptr || actual != nullptr) {
    failure.section = expected != nullptr ? expected->getName() : actual->getName();
    failure.option.clear();
    return false;
  }
  failure.section.clear();
  return true;
}

bool readsBackAsModel(const KivClIniFile& model, const Replacement& replacement,
                      const std::string& temporary, RewriteFailure& failure) {
  std::string bytes;
  if (!readFile(temporary, bytes, failure.systemError)) {
    failure.step = RewriteFailure::Step::TEMPORARY;
    return false;
  }
  KivClIniFile readBack{KivClFilename(temporary.c_str())};
  readBack.loadFromBuffer(bytes.data(), bytes.size(), '\n', false, true);
  if (!sameAsModel(model, replacement, readBack, failure)) {
    failure.step = RewriteFailure::Step::NOT_READ_BACK;
    return false;
  }
  return true;
}

// Writes the original bytes to the backup name through a temporary file
// renamed over it.
bool writeBackup(const std::string& target, const std::string& bytes, mode_t mode,
                 RewriteFailure& failure) {
  std::string temporary;
  if (!createTemporaryFile(target, temporary, failure.systemError)) return false;
  if (writeFile(temporary, bytes, mode, failure.systemError) &&
      renameFile(temporary, failure.backupName, failure.systemError)) {
    return true;
  }
  removeFile(temporary);
  return false;
}

}  // namespace

bool Document::rewrite(const Replacement& replacement, RewriteFailure& failure) const {
  failure = RewriteFailure{};
  const std::string target = targetOf(m_path);
  failure.backupName = backupNameOf(target);

  mode_t mode = permissionsForNewFile();
  if (m_existed && !permissionsOf(target, mode, failure.systemError)) {
    failure.step = RewriteFailure::Step::TEMPORARY;
    return false;
  }

  std::string temporary;
  if (!createTemporaryFile(target, temporary, failure.systemError)) {
    failure.step = RewriteFailure::Step::TEMPORARY;
    return false;
  }
  const auto fail = [&](RewriteFailure::Step step) {
    if (failure.step == RewriteFailure::Step::NONE) failure.step = step;
    removeFile(temporary);
    return false;
  };

  if (!writeModel(m_model, replacement, temporary)) {
    failure.systemError = 0;
    return fail(RewriteFailure::Step::TEMPORARY);
  }
  if (!readsBackAsModel(m_model, replacement, temporary, failure)) {
    return fail(RewriteFailure::Step::NOT_READ_BACK);
  }
  if (!setPermissions(temporary, mode, failure.systemError)) {
    return fail(RewriteFailure::Step::TEMPORARY);
  }
  if (m_existed && !writeBackup(target, m_bytes, mode, failure)) {
    return fail(RewriteFailure::Step::BACKUP);
  }
  if (!renameFile(temporary, target, failure.systemError)) {
    return fail(RewriteFailure::Step::REPLACE);
  }
  return true;
}

}  // namespace kivini
