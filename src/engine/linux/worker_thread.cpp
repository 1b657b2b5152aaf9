#include "engine/worker_thread.h"

namespace nuv {

WorkerThread::~WorkerThread() {
    if (thread_.joinable()) thread_.join();
}

void WorkerThread::Start(Work work, void* argument) {
    thread_ = std::thread(work, argument);
}

void WorkerThread::Join() {
    thread_.join();
}

}  // namespace nuv
