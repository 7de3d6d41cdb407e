// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <string_view>
#include <utility>

#include "token_stream.h"

namespace aidlc {
namespace {

constexpr int kLevels = 10;

// Binary operators from the loosest to the tightest binding.
constexpr std::string_view kOperators[kLevels][4] = {
    {"||"},       {"&&"},     {"|"},           {"^"}, {"&"}, {"==", "!="}, {"<", ">", "<=", ">="},
    {"<<", ">>"}, {"+", "-"}, {"*", "/", "%"},
};

class ExpressionParser {
  public:
    explicit ExpressionParser(TokenStream* tokens) : mTokens(*tokens) {}

    ExpressionPtr binary(int level) {
        if (level == kLevels) {
            return unary();
        }
        ExpressionPtr left = binary(level + 1);
        while (left != nullptr) {
            const Location at = mTokens.peek().at;
            const std::string_view op = takeOperator(level);
            if (op.empty()) {
                break;
            }
            ExpressionPtr right = binary(level + 1);
            if (right == nullptr) {
                return nullptr;
            }
            left = combine(Expression::Kind::Binary, at, std::string(op), std::move(left),
                           std::move(right));
        }
        return left;
    }

  private:
    std::string_view takeOperator(int level) {
        for (const std::string_view op : kOperators[level]) {
            if (op == ">>") {
                const Token& first = mTokens.peek();
                const Token& second = mTokens.peek(1);
                if (mTokens.is(">") && mTokens.isAhead(1, ">") && first.at.line == second.at.line &&
                    first.at.column + 1 == second.at.column) {
                    mTokens.take();
                    mTokens.take();
                    return op;
                }
            } else if (op == ">" && isShiftRight()) {
                continue;
            } else if (!op.empty() && mTokens.takeIf(op)) {
                return op;
            }
        }
        return {};
    }
    bool isShiftRight() const {
        return mTokens.is(">") && mTokens.isAhead(1, ">") &&
               mTokens.peek().at.column + 1 == mTokens.peek(1).at.column;
    }

    ExpressionPtr unary() {
        for (const std::string_view op : {"+", "-", "!", "~"}) {
            if (mTokens.is(op)) {
                const Token token = mTokens.take();
                if (!enter(token.at)) {
                    return nullptr;
                }
                ExpressionPtr operand = unary();
                --mNesting;
                return operand == nullptr ? nullptr
                                          : combine(Expression::Kind::Unary, token.at, token.text,
                                                    std::move(operand), nullptr);
            }
        }
        return primary();
    }

    ExpressionPtr primary() {
        const Token& token = mTokens.peek();
        switch (token.kind) {
            case TokenKind::Integer:
                return literal(Expression::Kind::Integer);
            case TokenKind::Float:
                return literal(Expression::Kind::Float);
            case TokenKind::Character:
                return literal(Expression::Kind::Character);
            case TokenKind::String:
                return literal(Expression::Kind::String);
            case TokenKind::Identifier:
                return name();
            default:
                break;
        }
        if (mTokens.is("(") || mTokens.is("{")) {
            const Location at = token.at;
            if (!enter(at)) {
                return nullptr;
            }
            ExpressionPtr inner = mTokens.is("(") ? parenthesised() : array();
            --mNesting;
            return inner;
        }
        mTokens.failExpecting("a value");
        return nullptr;
    }

    ExpressionPtr literal(Expression::Kind kind) {
        Token token = mTokens.take();
        auto expression = std::make_unique<Expression>();
        expression->kind = kind;
        expression->at = token.at;
        expression->text = std::move(token.text);
        return expression;
    }

    ExpressionPtr name() {
        if (mTokens.isWord("true") || mTokens.isWord("false")) {
            return literal(Expression::Kind::Boolean);
        }
        auto expression = std::make_unique<Expression>();
        expression->kind = Expression::Kind::Reference;
        expression->at = mTokens.peek().at;
        if (!mTokens.expectDottedName("a name", &expression->text)) {
            return nullptr;
        }
        return expression;
    }

    ExpressionPtr parenthesised() {
        mTokens.take();
        ExpressionPtr inner = binary(0);
        return inner != nullptr && mTokens.expect(")") ? std::move(inner) : nullptr;
    }

    ExpressionPtr array() {
        auto expression = std::make_unique<Expression>();
        expression->kind = Expression::Kind::Array;
        expression->at = mTokens.take().at;
        while (!mTokens.takeIf("}")) {
            ExpressionPtr item = binary(0);
            if (item == nullptr) {
                return nullptr;
            }
            expression->depth = std::max(expression->depth, item->depth + 1);
            expression->operands.push_back(std::move(item));
            if (!mTokens.takeIf(",") && !mTokens.is("}")) {
                mTokens.failExpecting("',' or '}'");
                return nullptr;
            }
        }
        return expression;
    }

    ExpressionPtr combine(Expression::Kind kind, const Location& at, std::string op,
                          ExpressionPtr left, ExpressionPtr right) {
        auto expression = std::make_unique<Expression>();
        expression->kind = kind;
        expression->at = at;
        expression->text = std::move(op);
        expression->depth = 1 + std::max(left->depth, right == nullptr ? 0 : right->depth);
        expression->operands.push_back(std::move(left));
        if (right != nullptr) {
            expression->operands.push_back(std::move(right));
        }
        if (expression->depth > Expression::kMaxDepth) {
            tooDeep(at);
            return nullptr;
        }
        return expression;
    }

    bool enter(const Location& at) {
        if (++mNesting > Expression::kMaxDepth) {
            tooDeep(at);
            return false;
        }
        return true;
    }
    void tooDeep(const Location& at) {
        mTokens.diagnostics().error(at, "this expression is nested more than " +
                                            std::to_string(Expression::kMaxDepth) +
                                            " deep; split it into several constants");
    }

    TokenStream& mTokens;
    int mNesting = 0;
};

}  // namespace

ExpressionPtr parseExpression(TokenStream* tokens) {
    return ExpressionParser(tokens).binary(0);
}

}  // namespace aidlc
