// Moves pages from the renderer into the filter jobs and collects their frames.
//
// The jobs take the stream at their own pace: a page is read only when the one before it is nearly
// done, so at most two pages are under way, whatever the document's length.
#include "tools/render/print_document.h"

#include <sys/stat.h>

#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <utility>

#include "tools/render/chain.h"
#include "tools/render/child.h"
#include "tools/render/filter_job.h"
#include "tools/render/private_directory.h"

namespace kestra {
namespace {

class Print {
 public:
  Print(const PrintRequest& request, const PageTaker& take, const ProgressTaker& progress)
      : request_(request), take_(take), progress_(progress) {}

  PrintResult run() {
    if (const Result<void> started = start(); !started) {
      result_.problem = started.problem();
      return std::move(result_);
    }
    readPages();
    finish();
    return std::move(result_);
  }

 private:
  Result<void> start() {
    if (Result<void> made = directory_.make(); !made) return made;
    progress_({0, std::nullopt});
    const std::string work = directory_.path() + "/render";
    std::error_code error;
    std::filesystem::create_directory(work, error);
    ChainRequest chain;
    chain.document = request_.document;
    chain.type = request_.type;
    chain.ppd = request_.ppd;
    chain.options = request_.options;
    chain.copies = request_.copies;
    chain.work = work;
    Result<void> opened = chain_.open(chain);
    result_.damaged = chain_.damaged();
    if (!opened) {
      keepRendering();
      return opened;
    }
    if (!request_.keep.empty()) {
      raster_.open(request_.keep + "/pages.ras", std::ios::binary);
    }
    std::vector<int> others = {chain_.stream()};
    for (std::size_t i = 0; i < request_.jobs.size(); ++i) {
      FilterRequest job;
      job.directory = directory_.path() + "/job" + std::to_string(i);
      job.ppd = request_.ppd;
      job.title = std::filesystem::path(request_.document).filename().string();
      job.options = request_.options + (request_.options.empty() ? "" : " ") + request_.jobs[i];
      job.copies = request_.copies;
      if (!request_.keep.empty()) job.keep = request_.keep + request_.keepNames[i];
      jobs_.push_back(std::make_unique<FilterJob>(std::move(job)));
      if (Result<void> started = jobs_.back()->start(others); !started) return started;
      others.push_back(jobs_.back()->input());
    }
    return {};
  }

  bool feed(const std::uint8_t* data, std::size_t size) {
    if (raster_.is_open()) {
      raster_.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    bool wanted = raster_.is_open();
    for (const auto& job : jobs_) wanted = job->feed(data, size) || wanted;
    return wanted;
  }

  void readPages() {
    PageReader reader(chain_.stream(), [this](const std::uint8_t* data, std::size_t size) {
      return feed(data, size);
    });
    PageContent page;
    while (!stopped_ && reader.next(page)) {
      waiting_.push_back(page);
      deliver();
    }
    if (!stopped_) reader.drain();
  }

  // Hands on every page that all jobs have finished.
  void deliver() {
    for (const auto& job : jobs_) job->follow();
    while (!waiting_.empty() && !stopped_ && interruptSignal() == 0) {
      const std::size_t number = result_.pages + 1;
      for (const auto& job : jobs_) {
        if (!job->settled(number)) return;
      }
      PrintedPage page;
      page.number = number;
      page.content = waiting_.front();
      page.scale = chain_.scale(number);
      page.fit = chain_.fit(number);
      waiting_.pop_front();
      for (const auto& job : jobs_) page.frames.push_back(job->takeFrame(number));
      page.command = jobs_.front()->command(number);
      ++result_.pages;
      stopped_ = !take_(std::move(page));
      progress_({result_.pages, chain_.expectedPages()});
    }
  }

  void finish() {
    for (const auto& job : jobs_) job->endOfPages();
    Result<void> rendered;
    if (!stopped_) rendered = chain_.close();
    int status = 0;
    for (const auto& job : jobs_) {
      const int ended = job->wait();
      if (status == 0) status = ended;
    }
    deliver();
    for (const auto& job : jobs_) {
      for (const std::string& error : job->errors()) result_.logErrors.push_back(error);
      job->keepRest();
    }
    keepRendering();
    if (interruptSignal() != 0 || stopped_) return;
    if (!rendered) {
      result_.problem = rendered.problem();
    } else if (status != 0) {
      result_.problem = "the filter ended with " + endWords(status);
    } else if (result_.pages == 0) {
      result_.problem =
          "the document gave no pages; is it whole, and does page-ranges name pages it has?";
    }
  }

  void keepRendering() const {
    if (request_.keep.empty()) return;
    for (const char* name : {"/document.pdf", "/render.log"}) {
      moveFile(directory_.path() + "/render" + name, request_.keep + name);
    }
  }

  const PrintRequest& request_;
  const PageTaker& take_;
  const ProgressTaker& progress_;
  PrivateDirectory directory_;  // outlives the processes that work in it
  Chain chain_;
  std::vector<std::unique_ptr<FilterJob>> jobs_;
  std::ofstream raster_;
  std::deque<PageContent> waiting_;
  bool stopped_ = false;
  PrintResult result_;
};

}  // namespace

PrintResult printDocument(const PrintRequest& request, const PageTaker& take,
                          const ProgressTaker& progress) {
  Print print(request, take, progress);
  return print.run();
}

}  // namespace kestra
