#include "KRXJob.h"

KRXJob::KRXJob() = default;

KRXJob::KRXJob(const KRXJob&) = default;

KRXJob& KRXJob::operator=(const KRXJob&) = default;

KRXJob::~KRXJob() = default;
