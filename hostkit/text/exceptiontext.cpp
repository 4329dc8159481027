// SPDX-License-Identifier: MIT
#include <hostkit/text/exceptiontext.h>

#include <data/exception.h>

#include <QCoreApplication>

#include <new>

namespace sito {

QString exceptionText(const std::exception_ptr &exception)
{
    QString result;
    try {
        std::rethrow_exception(exception);
    } catch (const Exception &thrown) {
        result = thrown.message();
    } catch (const QString &text) {
        result = text;
    } catch (const std::bad_alloc &) {
        result = QCoreApplication::translate("ExceptionText", "Недостаточно памяти");
    } catch (const std::exception &thrown) {
        result = QString::fromLocal8Bit(thrown.what());
    } catch (...) {
        result = QCoreApplication::translate("ExceptionText", "Неизвестная ошибка");
    }
    return result.isNull() ? QStringLiteral("") : result;
}

QString currentExceptionText()
{
    return exceptionText(std::current_exception());
}

} // namespace sito
