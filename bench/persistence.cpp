// Coefficients and measurements to and from a file on a file system in memory, and a buffer. The
// floor is one copy of the same bytes: one write() of a block to a new file, or one memcpy of it to
// the same buffer; and for reading, a read() or memcpy a matrix, from where it stands, to matrices
// made anew while the old ones are still held, as loading makes them. Where it stands matters: the
// kernel copies 9 GB/s where file and memory agree in the last six bits of their addresses, 6.3 GB/s
// elsewhere (AMD EPYC, Zen 4).
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

#include "bench/cases.h"
#include "bench/wall.h"

namespace multilayer::bench {
namespace {

// The objects to be stored, with their matrices in file order.
struct Coefficients {
  static constexpr const char* kExtension = ".mlcoefs";
  explicit Coefficients(cv::Size size) : object(Calibrated(size)) {}
  Mats Planes() const {
    Mats planes;
    for (size_t k = 0; k < object.coef_r.size(); ++k) {
      planes.insert(planes.end(), {object.coef_r[k], object.coef_g[k], object.coef_b[k]});
    }
    return planes;
  }
  MultiLayerCoeff object;
};

struct Measurement {
  static constexpr const char* kExtension = ".meter";
  explicit Measurement(cv::Size size) : object(MeasuredComplete(size, 0, kLevels.size() - 1)) {}
  Mats Planes() const { return {object.state, object.pos, object.chroma}; }
  LedMeter object;
};

// A file in memory, removed in the end.
class MemoryFile {
 public:
  explicit MemoryFile(const char* extension)
      : name_("/dev/shm/multilayer_bench_" + std::to_string(getpid()) + extension) {}
  ~MemoryFile() { Remove(); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  const std::string& name() const { return name_; }
  void Remove() const { unlink(name_.c_str()); }

 private:
  std::string name_;
};

// An open file, for the floor.
class Descriptor {
 public:
  Descriptor(const MemoryFile& file, int flags) : number_(open(file.name().c_str(), flags, 0600)) {
    Must(number_ < 0 ? errno : 0);
  }
  ~Descriptor() { close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  void Write(const std::vector<uint8_t>& block) const {
    for (size_t done = 0; done < block.size();) {  // one call takes at most 2 GiB
      const ssize_t count = write(number_, block.data() + done, block.size() - done);
      Must(count <= 0 ? errno : 0);
      done += static_cast<size_t>(count);
    }
  }
  void Read(uint8_t* data, size_t size) const {
    for (size_t done = 0; done < size;) {
      const ssize_t count = read(number_, data + done, size - done);
      Must(count <= 0 ? errno : 0);
      done += static_cast<size_t>(count);
    }
  }
  void Skip(size_t size) const { Must(lseek(number_, static_cast<off_t>(size), SEEK_CUR) < 0); }

 private:
  int number_;
};

// What the four have in common: the object, its bytes, and matrices for the floor to read into.
template <class Stored>
class Persistence : public Computation {
 public:
  explicit Persistence(cv::Size size) : Computation(size), stored_(size) {
    uint64_t length = 0;
    Must(stored_.object.GetBufferSize(&length));
    buffer_.resize(length);
    Must(stored_.object.ToBuffer(buffer_.data(), &length));
  }

  uint64_t MovedBytes() override { return 2 * buffer_.size(); }

 protected:
  // Replaces the floor's matrices by new ones, each filled by `fill`(data, size).
  template <class Fill>
  void ReadAnew(const Fill& fill) {
    Mats made;
    for (const cv::Mat& plane : stored_.Planes()) {
      made.emplace_back(plane.size(), plane.type());
      fill(made.back().data, plane.total() * plane.elemSize());
    }
    floor_ = std::move(made);
  }
  cv::Mat BufferHeader() { return {1, static_cast<int>(buffer_.size()), CV_8UC1, buffer_.data()}; }

  Stored stored_;
  std::vector<uint8_t> buffer_;

 private:
  Mats floor_;
};

template <class Stored>
class WriteFile : public Persistence<Stored> {
 public:
  using Persistence<Stored>::Persistence;
  void Start() override { file_.Remove(); }
  void Shipped() override { Must(this->stored_.object.Save(file_.name())); }
  void Floor() override { Descriptor(file_, O_WRONLY | O_CREAT | O_TRUNC).Write(this->buffer_); }
  Touched Memory() override {
    return {.read = this->stored_.Planes(), .updated = {}, .written = {}};
  }

 private:
  MemoryFile file_{Stored::kExtension};
};

template <class Stored>
class ReadFile : public Persistence<Stored> {
 public:
  explicit ReadFile(cv::Size size) : Persistence<Stored>(size) {
    Must(this->stored_.object.Save(file_.name()));
  }
  void Shipped() override { Must(this->stored_.object.Load(file_.name())); }
  void Floor() override {
    constexpr size_t kMatHeader = 16;
    const Descriptor file(file_, O_RDONLY);
    const Mats planes = this->stored_.Planes();
    file.Skip(this->buffer_.size() - BytesOf(planes) - planes.size() * kMatHeader);
    this->ReadAnew([&file](uint8_t* data, size_t size) {
      file.Skip(kMatHeader);
      file.Read(data, size);
    });
  }
  Touched Memory() override {
    return {.read = {}, .updated = {}, .written = this->stored_.Planes()};
  }

 private:
  MemoryFile file_{Stored::kExtension};
};

template <class Stored>
class WriteBuffer : public Persistence<Stored> {
 public:
  explicit WriteBuffer(cv::Size size) : Persistence<Stored>(size), target_(this->buffer_.size()) {}
  void Shipped() override {
    uint64_t length = target_.size();
    Must(this->stored_.object.ToBuffer(target_.data(), &length));
  }
  void Floor() override { std::memcpy(target_.data(), this->buffer_.data(), target_.size()); }
  Touched Memory() override {
    const cv::Mat target(1, static_cast<int>(target_.size()), CV_8UC1, target_.data());
    return {.read = this->stored_.Planes(), .updated = {}, .written = {target}};
  }

 private:
  std::vector<uint8_t> target_;
};

template <class Stored>
class ReadBuffer : public Persistence<Stored> {
 public:
  using Persistence<Stored>::Persistence;
  void Shipped() override {
    Must(this->stored_.object.FromBuffer(this->buffer_.data(), this->buffer_.size()));
  }
  void Floor() override {
    const uint8_t* from = this->buffer_.data();
    this->ReadAnew([&from](uint8_t* data, size_t size) {
      std::memcpy(data, from, size);
      from += size;
    });
  }
  Touched Memory() override {
    return {.read = {this->BufferHeader()}, .updated = {}, .written = this->stored_.Planes()};
  }
};

}  // namespace

void AddPersistenceCases(std::vector<Case>& cases) {
  cases.push_back({"write .mlcoefs, file", Make<WriteFile<Coefficients>>});
  cases.push_back({"read .mlcoefs, file", Make<ReadFile<Coefficients>>});
  cases.push_back({"write .mlcoefs, buffer", Make<WriteBuffer<Coefficients>>});
  cases.push_back({"read .mlcoefs, buffer", Make<ReadBuffer<Coefficients>>});
  cases.push_back({"write .meter, file", Make<WriteFile<Measurement>>});
  cases.push_back({"read .meter, file", Make<ReadFile<Measurement>>});
  cases.push_back({"write .meter, buffer", Make<WriteBuffer<Measurement>>});
  cases.push_back({"read .meter, buffer", Make<ReadBuffer<Measurement>>});
}

}  // namespace multilayer::bench
