#!/usr/bin/perl
# Lists the wrong versions of C++ files that differ from the right one in a single token or statement, one a
# line: file, line, column, length, replacement, separated by tabs. Used by tools/mutants.sh.
# Usage: tools/mutants.pl FILE...
use strict;
use warnings;

my %swapped = (
    '<=' => ['<'], '>=' => ['>'], '==' => ['!='], '!=' => ['=='], '&&' => ['||'], '||' => ['&&'],
    '<<' => ['>>'], '>>' => ['<<'], '++' => ['--'], '--' => ['++'], '+=' => ['-='], '-=' => ['+='],
    '<' => ['<='], '>' => ['>='], '+' => ['-'], '-' => ['+'], '*' => ['/'], '/' => ['*'], '%' => ['*'],
    '&' => ['|'], '|' => ['&'], '^' => ['|'], '!' => [''], 'true' => ['false'], 'false' => ['true'],
);
# Words behind which * and & name a type, and < opens its arguments.
my $type_word = qr/^(?:const|unsigned|char|int|bool|void|auto|double|qint64|quint16|quint32|quint64|size_t)$/;

for my $file (@ARGV) {
    open my $in, '<', $file or die "$file: $!\n";
    my @lines = <$in>;
    close $in;
    my $in_comment = 0;
    for my $number (0 .. $#lines) {
        my $line = $lines[$number];
        chomp $line;
        # Comments, texts and characters become blanks, so that columns stay what they are.
        my $code = $line;
        $code =~ s{"(?:[^"\\]|\\.)*"|'(?:[^'\\]|\\.)*'}{'_' x length $&}ge;
        $code =~ s{//.*}{' ' x length $&}ge;
        next if $code =~ /^\s*#/ or $code =~ /^\s*$/;
        next if $code =~ /^\s*(?:template|typedef|using|namespace|class|struct|enum|friend|public:|private:)/;
        mutants_of_line($file, $number + 1, $code, $lines[$number - 1] // '');
    }
}

sub emit {
    my ($file, $line, $column, $length, $replacement) = @_;
    print join("\t", $file, $line, $column, $length, $replacement), "\n";
}

sub mutants_of_line {
    my ($file, $number, $code, $before) = @_;
    # A statement that is complete on its line and neither declares nor returns.
    my ($indent, $statement) =
        $code =~ /^(\s+)([A-Za-z_][\w.>:\[\]()-]*(?:\(.*\)|\s*(?:[-+|&^]?=)[^=].*|\+\+|--));\s*$/;
    if (defined $statement
        and $statement !~ /^(?:return|break|continue|delete|throw|goto|case|else|const|static|auto)\b/
        and $statement !~ /^[\w:<>,*&]+\s+\w+\s*(?:=[^=]|\()/
        and $before =~ m{[;{})]\s*(?://.*)?$}) {
        emit($file, $number, length $indent, length($statement) + 1, ';');
    }
    my $previous = '';
    while ($code =~ /\G\s*(?:(0[xX][0-9a-fA-F]+|\d+)([uUlL]*)|([A-Za-z_]\w*)|(<<=|>>=|->|::|<=|>=|==|!=|&&|\|\||<<|>>|\+\+|--|\+=|-=|.))/gc) {
        my ($constant, $suffix, $word, $operator) = ($1, $2, $3, $4);
        my $end = pos $code;
        my $next = substr $code, $end, 1;
        if (defined $constant) {
            my $value = oct($constant =~ /^0[xX]/ ? $constant : "0x" . sprintf '%x', $constant);
            emit($file, $number, $end - length("$constant$suffix"), length $constant, $value + 1);
        } elsif (defined $word) {
            emit($file, $number, $end - length $word, length $word, $swapped{$word}[0])
                if $swapped{$word};
        } elsif ($swapped{$operator}) {
            my $binary = $previous =~ /^[\w)\]]/;
            my $at = $end - length $operator;
            my $spaced = $at > 0 && substr($code, $at - 1, 1) eq ' ' && $next eq ' ';
            my $unary = $operator =~ /^(?:!|\+\+|--|-)$/;
            # Operators between operands stand between blanks here; * and & of types, and <> of
            # templates, do not.
            if ($spaced && $binary && $previous !~ $type_word or $unary && !$spaced) {
                emit($file, $number, $at, length $operator, $_) for @{$swapped{$operator}};
            }
        }
        $previous = $constant // $word // $operator;
    }
}
