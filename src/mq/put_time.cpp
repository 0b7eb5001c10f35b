#include "mq/put_time.h"

#include <ctime>

namespace {

// A fixed-width descriptor field that is read number by number.
class FieldReader {
 public:
  FieldReader(const char* field, int width) : at_(field), end_(field + width) {}

  // Blanks, then at most `width` characters of sign and digits.
  std::optional<int> Next(int width) {
    while (at_ != end_ && (*at_ == ' ' || (*at_ >= '\t' && *at_ <= '\r'))) ++at_;
    bool negative = false;
    if (at_ != end_ && (*at_ == '-' || *at_ == '+')) {
      negative = *at_ == '-';
      ++at_;
      --width;
    }
    int value = 0;
    int digits = 0;
    for (; digits < width && at_ != end_ && *at_ >= '0' && *at_ <= '9'; ++at_, ++digits) {
      value = value * 10 + (*at_ - '0');
    }
    if (digits == 0) return std::nullopt;
    return negative ? -value : value;
  }

 private:
  const char* at_;
  const char* end_;
};

struct Date {
  int Year, Month, Day;
};

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

std::optional<Date> ParsePutDate(const char* putDate) {
  FieldReader reader(putDate, 8);
  const auto year = reader.Next(4);
  const auto month = reader.Next(2);
  const auto day = reader.Next(2);
  if (!year || !month || !day || *year < 1 || *month < 1 || *month > 12) return std::nullopt;
  if (*day < 1 || *day > DaysInMonth(*year, *month)) return std::nullopt;
  return Date{*year, *month, *day};
}

// Days from 1970-01-01 to a date of the Gregorian calendar. Years begin in March here, so that the leap day is the last
// day of its year.
std::int64_t DaysSince1970(const Date& date) {
  constexpr int kDaysFromYearZero = 719468;
  const int year = date.Year - (date.Month <= 2 ? 1 : 0);
  const int monthFromMarch = (date.Month + 9) % 12;
  const int dayOfYear = (153 * monthFromMarch + 2) / 5 + date.Day - 1;
  const int leapDays = year / 4 - year / 100 + year / 400;
  return std::int64_t{365} * year + leapDays + dayOfYear - kDaysFromYearZero;
}

}  // namespace

std::optional<std::int64_t> PutDateSeconds(const char* putDate) {
  const auto date = ParsePutDate(putDate);
  if (!date) return std::nullopt;
  return DaysSince1970(*date) * 86400;
}

std::optional<PutTimeOfDay> ParsePutTime(const char* putTime) {
  FieldReader reader(putTime, 8);
  const auto hours = reader.Next(2);
  const auto minutes = reader.Next(2);
  const auto seconds = reader.Next(2);
  if (!hours || !minutes || !seconds) return std::nullopt;
  if (*hours < 0 || *hours > 23 || *minutes < 0 || *minutes > 59 || *seconds < 0 || *seconds > 60) return std::nullopt;
  const int hundredths = reader.Next(2).value_or(0);
  return PutTimeOfDay{(*hours * 60 + *minutes) * 60 + *seconds, hundredths < 0 ? 0 : hundredths};
}

std::int64_t PutTimeUtc(const char* putDate, const char* putTime) {
  if (putDate == nullptr || putTime == nullptr) return -1;
  const auto date = PutDateSeconds(putDate);
  const auto time = ParsePutTime(putTime);
  return date && time ? *date + time->Seconds : -1;
}

std::int64_t PutTimeLocal(const char* putDate, const char* putTime) {
  if (putDate == nullptr || putTime == nullptr) return -1;
  const auto date = ParsePutDate(putDate);
  const auto time = ParsePutTime(putTime);
  if (!date || !time) return -1;
  std::tm calendar{};
  calendar.tm_year = date->Year - 1900;
  calendar.tm_mon = date->Month - 1;
  calendar.tm_mday = date->Day;
  calendar.tm_hour = time->Seconds / 3600;
  calendar.tm_min = time->Seconds / 60 % 60;
  calendar.tm_sec = time->Seconds % 60;
  calendar.tm_isdst = -1;
  return std::mktime(&calendar);
}
