// Shared by the export tests: a private temporary directory for each test (TMPDIR points at
// it, so QStandardPaths::TempLocation is there) and the list of files in it.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

namespace gs::test {

class PrivateTempDir : public testing::Test {
protected:
    void SetUp() override {
        dir_ = std::make_unique<QTemporaryDir>();
        ASSERT_TRUE(dir_->isValid());
        previous_ = qgetenv("TMPDIR");
        restoreTempDir();
    }
    // Points TMPDIR at this test's directory again.
    void restoreTempDir() { qputenv("TMPDIR", dir_->path().toLocal8Bit()); }
    void TearDown() override {
        qputenv("TMPDIR", previous_);
        dir_.reset();
    }
    QString tempPath() const { return dir_->path(); }
    // Every entry of the temporary directory, hidden ones included.
    QStringList tempFiles() const {
        return QDir(dir_->path()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private:
    std::unique_ptr<QTemporaryDir> dir_;
    QByteArray previous_;
};

}  // namespace gs::test
