// SPDX-License-Identifier: Apache-2.0
#include "expression_parser.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace aidlc {
namespace {

// Binary operators from the loosest to the tightest binding.
constexpr std::string_view kOperators[][3] = {
    {"|"}, {"^"}, {"&"}, {"<<", ">>"}, {"+", "-"}, {"*", "/", "%"},
};
constexpr size_t kLevels = std::size(kOperators);

class ExpressionParser {
  public:
    explicit ExpressionParser(TokenStream* tokens) : mTokens(*tokens) {}

    ExpressionPtr binary(size_t level) {
        if (level == kLevels) {
            return unary();
        }
        ExpressionPtr left = binary(level + 1);
        while (std::any_of(std::begin(kOperators[level]), std::end(kOperators[level]),
                           [this](std::string_view op) { return mTokens.is(op); })) {
            ExpressionPtr whole = leaf(Expression::Kind::Binary);
            addOperand(whole.get(), std::move(left));
            addOperand(whole.get(), binary(level + 1));
            left = std::move(whole);
        }
        return left;
    }

  private:
    ExpressionPtr unary() {
        if (!mTokens.is("-") && !mTokens.is("+") && !mTokens.is("~")) {
            return primary();
        }
        ExpressionPtr whole = leaf(Expression::Kind::Unary);
        enter(whole->at);
        addOperand(whole.get(), unary());
        --mNesting;
        return whole;
    }

    ExpressionPtr primary() {
        switch (mTokens.peek().kind) {
            case TokenKind::Integer:
                return leaf(Expression::Kind::Integer);
            case TokenKind::Real:
                return leaf(Expression::Kind::Real);
            case TokenKind::Character:
                return leaf(Expression::Kind::Character);
            case TokenKind::String:
                return leaf(Expression::Kind::String);
            case TokenKind::Identifier:
                return name();
            default:
                break;
        }
        if (!mTokens.is("(") && !mTokens.is("{")) {
            mTokens.failExpecting("a value");
            return leaf(Expression::Kind::Integer);
        }
        enter(mTokens.at());
        ExpressionPtr inner = mTokens.is("(") ? parenthesised() : array();
        --mNesting;
        return inner;
    }

    // The next token as an expression of its own.
    ExpressionPtr leaf(Expression::Kind kind) {
        Token token = mTokens.take();
        auto expression = std::make_unique<Expression>();
        expression->kind = kind;
        expression->at = token.at;
        expression->text = std::move(token.text);
        return expression;
    }

    ExpressionPtr name() {
        auto expression = std::make_unique<Expression>();
        expression->at = mTokens.at();
        expression->text = mTokens.expectDottedName("a name");
        const bool isBoolean = expression->text == "true" || expression->text == "false";
        expression->kind = isBoolean ? Expression::Kind::Boolean : Expression::Kind::Reference;
        return expression;
    }

    ExpressionPtr parenthesised() {
        mTokens.take();
        ExpressionPtr inner = binary(0);
        mTokens.expect(")");
        return inner;
    }

    ExpressionPtr array() {
        ExpressionPtr whole = leaf(Expression::Kind::Array);
        while (mTokens.until("}")) {
            addOperand(whole.get(), binary(0));
            mTokens.expectCommaOr("}");
        }
        return whole;
    }

    void addOperand(Expression* whole, ExpressionPtr operand) {
        whole->depth = std::max(whole->depth, operand->depth + 1);
        if (whole->depth > kMaxExpressionDepth) {
            tooDeep(whole->at);
        }
        whole->operands.push_back(std::move(operand));
    }

    void enter(const Location& at) {
        if (++mNesting > kMaxExpressionDepth) {
            tooDeep(at);
        }
    }
    void tooDeep(const Location& at) {
        mTokens.fail(at, "this expression is nested more than " +
                             std::to_string(kMaxExpressionDepth) +
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
