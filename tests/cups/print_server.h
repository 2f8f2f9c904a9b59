// A print server of the tests' own: started, restarted, given queues and jobs, asked for results.
// Why: only a real one shows which bytes, options and files a job on a user's machine comes to.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace kestra::cups_tests {

enum class JobState {
  kUnknown = 0,
  kStopped = 6,  ///< a filter failed; the job stays in the queue
  kCanceled = 7,
  kAborted = 8,
  kCompleted = 9
};

struct JobReport {
  int id = 0;
  JobState state = JobState::kUnknown;
  std::string reason;                         ///< job-state-reasons, the first
  std::string message;                        ///< job-printer-state-message
  int sheets = -1;                            ///< job-media-sheets-completed
  int copies = -1;                            ///< copies asked for
  std::string sent;                           ///< what reached the printer
  std::map<std::string, std::string> frames;  ///< the job's frames: name to bytes
  std::vector<std::string> errors;            ///< texts of its error lines in the log, in order
};

class PrintServer {
 public:
  /// The one of this process, started at the first call; `problem` says if that failed.
  static PrintServer& running();
  ~PrintServer();
  PrintServer(const PrintServer&) = delete;
  PrintServer& operator=(const PrintServer&) = delete;

  const std::string& problem() const { return problem_; }

  /// Ends the server and starts it again; its temporary files from now on lie in the spool's tmp
  /// (what a fresh installation does), or somewhere else.
  enum class Temporary { kInSpool, kElsewhere };
  void restart(Temporary where);

  /// model: "kestra4" or "kestraa4"; defaults: "Darkness=Dark" and so on, given to lpadmin -o.
  void addQueue(const std::string& name, const std::string& model,
                const std::vector<std::string>& defaults = {});

  /// A queue as another computer has it that shares no files with this one: it knows `shared` only
  /// by what the server tells over IPP, and hands its documents on to it as jobs.
  void addRemoteQueue(const std::string& name, const std::string& shared);

  /// lp -d QUEUE WORDS FILE; the job's number, or 0 and a failure.
  int send(const std::string& queue, const std::string& file,
           const std::vector<std::string>& words = {});
  /// Waits until the server has done with the job.
  JobReport await(int job);
  JobReport print(const std::string& queue, const std::string& file,
                  const std::vector<std::string>& words = {}) {
    return await(send(queue, file, words));
  }
  /// Waits until at least one frame of the job is there.
  void awaitFrame(int job);
  /// Waits until the job's log holds the text.
  void awaitLog(int job, const std::string& text);

  /// Log lines of a job, in order.
  std::vector<std::string> log(int job) const;
  /// Number of the first line of the whole log in which the job says the text; -1 and a failure
  /// where it never does.
  long lineOf(int job, const std::string& text) const;
  /// Names and bytes of the job's frames at this moment.
  std::map<std::string, std::string> frames(int job) const;
  /// Bytes of a queue's counter file; empty where there is none.
  std::string counter(const std::string& fileName) const;

  /// A directory for documents, and a printer description of the build.
  std::string document(const std::string& name) const { return place_ + "documents/" + name; }
  std::string ppd(const std::string& model) const { return place_ + model + ".ppd"; }
  std::string spoolTmp() const;
  /// The build's kestra-testlabel.
  std::string testLabelProgram() const { return place_ + "kestra-testlabel"; }

 private:
  PrintServer();
  void prepare();
  void configure(Temporary where);
  void start();
  void stop();

  std::string place_;  // all that is the server's own, with a slash at the end
  std::string problem_;
  pid_t server_ = -1;
};

}  // namespace kestra::cups_tests
