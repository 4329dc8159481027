// SPDX-License-Identifier: MIT
#pragma once

#include <filterfuncs/lambdafilterfunc.h>
#include <filters/filter.h>

#include <functional>
#include <utility>

/// A filter that hides the rows for which a function says so.
class LambdaFilter : public Filter
{
public:
    explicit LambdaFilter(std::function<bool(const Record &)> function) : Filter(-1, nullptr)
    {
        setFunction(std::move(function));
        setEnabled(true);
    }

    void setFunction(std::function<bool(const Record &)> function) { m_function = std::move(function); }
    FilterFunc *createFilterFunc(QObject *parent) const override
    {
        return new LambdaFilterFunc(m_function, parent);
    }
    QWidget *createFilterWidget(QWidget *) override { return nullptr; }
    void apply(QWidget *) override {}
    void init(QWidget *) override {}
    QString text() const override { return QString(); }
    QString name() const override { return QString(); }
    bool hasValue() const override { return true; }

private:
    std::function<bool(const Record &)> m_function;
};
