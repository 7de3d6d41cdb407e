// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ast.h"
#include "token_stream.h"

namespace aidlc {

// Deeper expressions are refused, so that walking one by recursion is safe.
constexpr int kMaxExpressionDepth = 100;

// Reads one constant expression. Never null; of no meaning once the stream has failed.
ExpressionPtr parseExpression(TokenStream* tokens);

}  // namespace aidlc
